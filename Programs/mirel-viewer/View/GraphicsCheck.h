#pragma once

#include <QString>

namespace mirel {

/// Whether this computer can draw what the viewer draws.
class GraphicsCheck {
 public:
  /// Asks for the OpenGL that the renderer needs. Before the application is made.
  static void SetDefaultFormat();

  /// Why nothing can be drawn, what is needed and what is there, for people; empty when all is well.
  static QString FindObstacle();
};

}  // namespace mirel

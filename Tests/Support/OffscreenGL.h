#pragma once

#include <Viewer/Draw/Picture.h>

#include <string>

namespace mirel {

/// An OpenGL context without a window or a display, and a framebuffer in it that pictures are read from.
///
/// Thread safety: for one thread.
class OffscreenGL {
 public:
  OffscreenGL();
  ~OffscreenGL();

  OffscreenGL(const OffscreenGL&) = delete;
  OffscreenGL& operator=(const OffscreenGL&) = delete;

  /// Why there is no context; empty when there is one.
  const std::string& GetObstacle() const { return obstacle_; }

  /// Makes it the current one, with an empty framebuffer of this size bound, black and transparent.
  void Begin(int width, int height);
  Picture Read() const;
  /// Waits until all that was asked for is drawn.
  static void Finish();

 private:
  void Make();

  std::string obstacle_;
  void* display_ = nullptr;
  void* context_ = nullptr;
  unsigned framebuffer_ = 0, color_ = 0;
  int width_ = 0, height_ = 0;
};

}  // namespace mirel

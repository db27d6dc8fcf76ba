#pragma once

#include <Viewer/Draw/Camera.h>

#include <glm/vec3.hpp>

#include <QPointF>
#include <QRectF>

#include <optional>

class QPainter;

namespace mirel {

/// A small cube in a corner of the picture that turns with the model. Its faces, edges and corners are where to look from.
class ViewCube {
 public:
  /// The square that it is drawn in, in a picture of some size.
  static QRectF GetPlace(const QSizeF& size);

  /// Draws it as a camera sees the model; what is under the mouse stands out.
  static void Draw(QPainter& painter, const QRectF& place, const Camera& camera,
                   const std::optional<glm::dvec3>& lit);

  /// The direction that a point of the picture stands for, from the middle of the cube; nothing beside it.
  static std::optional<glm::dvec3> Find(const QPointF& point, const QRectF& place, const Camera& camera);
};

}  // namespace mirel

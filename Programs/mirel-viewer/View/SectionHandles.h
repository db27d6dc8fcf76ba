#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/SectionPlane.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/vec2.hpp>

#include <QPointF>

#include <optional>
#include <vector>

class QPainter;

namespace mirel {

/// The section planes as they stand in the picture: an outline, and an arrow by which each is dragged along its normal.
class SectionHandles {
 public:
  /// `size` is that of the picture that `camera` looks onto; `box` is that of the model.
  SectionHandles(const std::vector<SectionPlane>& planes, const AABoxT<double>& box, const Camera& camera,
                 const glm::dvec2& size);

  void Draw(QPainter& painter, int lit) const;

  /// The plane whose arrow is at a point; -1 when there is none.
  int Find(const QPointF& point) const;

  /// Where a plane goes, as its offset, when its arrow is dragged from one point to another; nothing when it is seen straight
  /// from the front, where dragging has no direction.
  std::optional<double> Drag(int plane, const QPointF& from, const QPointF& to) const;

  /// The outline of what a plane has in common with a box: a convex polygon, empty when they do not meet.
  static std::vector<glm::dvec3> FindOutline(const SectionPlane& plane, const AABoxT<double>& box);

 private:
  QPointF Project(const glm::dvec3& point) const;
  glm::dvec3 FindMiddle(const SectionPlane& plane) const;
  QPointF FindTip(const SectionPlane& plane) const;

  const std::vector<SectionPlane>& planes_;
  const AABoxT<double>& box_;
  const Camera& camera_;
  const glm::dvec2 size_;
};

}  // namespace mirel

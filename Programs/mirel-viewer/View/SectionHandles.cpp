#include <Programs/mirel-viewer/View/SectionHandles.h>

#include <glm/glm.hpp>

#include <QLineF>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

constexpr double kArrow = 46.0, kKnob = 9.0;  // pixels
const QColor kColors[] = {QColor(214, 64, 54), QColor(46, 150, 70), QColor(50, 104, 214)};

}  // namespace

SectionHandles::SectionHandles(const std::vector<SectionPlane>& planes, const AABoxT<double>& box,
                               const Camera& camera, const glm::dvec2& size)
    : planes_(planes), box_(box), camera_(camera), size_(size) {}

QPointF SectionHandles::Project(const glm::dvec3& point) const {
  const glm::dvec3 seen = camera_.Project(point, size_);
  return {seen.x, seen.y};
}

std::vector<glm::dvec3> SectionHandles::FindOutline(const SectionPlane& plane, const AABoxT<double>& box) {
  std::vector<glm::dvec3> points;
  for (int corner = 0; corner < 8; ++corner) {
    for (int axis = 0; axis < 3; ++axis) {
      if ((corner & (1 << axis)) != 0) {
        continue;
      }
      glm::dvec3 a = box.GetMin(), b;
      for (int i = 0; i < 3; ++i) {
        a[i] = (corner & (1 << i)) != 0 ? box.GetMax()[i] : box.GetMin()[i];
      }
      b = a;
      b[axis] = box.GetMax()[axis];
      const double before = plane.GetDistance(a), behind = plane.GetDistance(b);
      if (before != behind && before * behind <= 0.0) {
        points.push_back(a + (b - a) * (before / (before - behind)));
      }
    }
  }
  if (points.size() < 3) {
    return {};
  }
  // In order around the middle.
  glm::dvec3 middle(0.0);
  for (const glm::dvec3& point : points) {
    middle += point / static_cast<double>(points.size());
  }
  const glm::dvec3 other = std::abs(plane.normal.z) < 0.9 ? glm::dvec3(0, 0, 1) : glm::dvec3(1, 0, 0);
  const glm::dvec3 right = glm::normalize(glm::cross(other, plane.normal)),
                   up = glm::cross(plane.normal, right);
  std::sort(points.begin(), points.end(), [&](const glm::dvec3& a, const glm::dvec3& b) {
    return std::atan2(glm::dot(a - middle, up), glm::dot(a - middle, right)) <
           std::atan2(glm::dot(b - middle, up), glm::dot(b - middle, right));
  });
  return points;
}

glm::dvec3 SectionHandles::FindMiddle(const SectionPlane& plane) const {
  const glm::dvec3 middle = (box_.GetMin() + box_.GetMax()) * 0.5;
  return middle - plane.normal * plane.GetDistance(middle);
}

QPointF SectionHandles::FindTip(const SectionPlane& plane) const {
  const glm::dvec3 middle = FindMiddle(plane);
  const QPointF from = Project(middle);
  const double step = glm::length(box_.GetMax() - box_.GetMin()) * 0.01 + 1e-6;
  const QPointF way = Project(middle + plane.normal * step) - from;
  const double length = std::hypot(way.x(), way.y());
  return length > 1e-9 ? from + way * (kArrow / length) : from;
}

void SectionHandles::Draw(QPainter& painter, int lit) const {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  for (std::size_t i = 0; i < planes_.size(); ++i) {
    const QColor color = kColors[i % 3];
    QPolygonF outline;
    for (const glm::dvec3& point : FindOutline(planes_[i], box_)) {
      outline << Project(point);
    }
    painter.setPen(QPen(color, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolygon(outline);
    const QPointF from = Project(FindMiddle(planes_[i])), tip = FindTip(planes_[i]);
    painter.setPen(QPen(color, 3.0));
    painter.drawLine(from, tip);
    painter.setPen(QPen(Qt::white, 1.5));
    painter.setBrush(static_cast<int>(i) == lit ? color.lighter(140) : color);
    painter.drawEllipse(tip, kKnob, kKnob);
  }
  painter.restore();
}

int SectionHandles::Find(const QPointF& point) const {
  for (std::size_t i = 0; i < planes_.size(); ++i) {
    if (QLineF(FindTip(planes_[i]), point).length() <= kKnob + 2.0) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

std::optional<double> SectionHandles::Drag(int number, const QPointF& from, const QPointF& to) const {
  const SectionPlane& plane = planes_[static_cast<std::size_t>(number)];
  const glm::dvec3 middle = FindMiddle(plane);
  const double step = glm::length(box_.GetMax() - box_.GetMin()) * 0.01 + 1e-6;
  const QPointF way = Project(middle + plane.normal * step) - Project(middle);
  const double square = way.x() * way.x() + way.y() * way.y();
  if (square < 1e-3) {
    return std::nullopt;
  }
  const QPointF moved = to - from;
  return plane.offset + step * (moved.x() * way.x() + moved.y() * way.y()) / square;
}

}  // namespace mirel

#include <Viewer/Draw/GL/SeenArea.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mirel {

namespace {

constexpr double kMargin =
    2.0;  // pixels: lines lie beside what they go around, and samples beside the middle
constexpr double kFarOut = 64.0;  // in clip space: beyond it single precision would move the sides

double GetTurn(const glm::dvec2& a, const glm::dvec2& b, const glm::dvec2& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// Counterclockwise, by Andrew's monotone chain.
std::vector<glm::dvec2> FindHull(std::vector<glm::dvec2> points) {
  std::sort(points.begin(), points.end(),
            [](const glm::dvec2& a, const glm::dvec2& b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
  std::vector<glm::dvec2> hull;
  const auto add = [&hull](const glm::dvec2& point, std::size_t kept) {
    while (hull.size() >= kept + 2 && GetTurn(hull[hull.size() - 2], hull.back(), point) <= 0.0)
      hull.pop_back();
    hull.push_back(point);
  };
  for (const glm::dvec2& point : points)
    add(point, 0);
  const std::size_t below = hull.size() - 1;
  for (auto point = points.rbegin() + 1; point != points.rend(); ++point)
    add(*point, below);
  hull.pop_back();
  return hull;
}

}  // namespace

std::vector<glm::vec2> FindSeenArea(const Camera& camera, const AABoxT<double>& box, const glm::dvec2& size) {
  if (!box.IsFinite()) return {};
  const std::vector<glm::vec2> whole = {{-1.0f, -1.0f}, {1.0f, -1.0f}, {1.0f, 1.0f}, {-1.0f, 1.0f}};
  const glm::dvec2 margin = 2.0 * kMargin / size;
  std::vector<glm::dvec2> points;
  for (const glm::dvec3& corner : GetBoxCorners(box)) {
    const glm::dvec3 seen = camera.Project(corner, size);
    if (camera.GetProjection() == Camera::Projection::kPerspective && !(seen.z > 0.0)) return whole;
    const glm::dvec2 place(2.0 * seen.x / size.x - 1.0, 1.0 - 2.0 * seen.y / size.y);
    if (!(std::max(std::abs(place.x), std::abs(place.y)) < kFarOut)) return whole;
    for (const glm::dvec2 aside :
         {glm::dvec2(-1, -1), glm::dvec2(1, -1), glm::dvec2(1, 1), glm::dvec2(-1, 1)})
      points.push_back(place + aside * margin);
  }
  const std::vector<glm::dvec2> hull = FindHull(std::move(points));
  if (hull.size() > kMostAreaCorners) return whole;
  return {hull.begin(), hull.end()};
}

}  // namespace mirel

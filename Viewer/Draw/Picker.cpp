#include <Viewer/Draw/Picker.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/SurfaceFinder.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace mirel {

namespace {

// Where around a point a body is looked for that is not right under it: so many places on each of so many circles.
constexpr int kCircles = 2, kPlaces = 8;

// How far behind the surface in front an edge may lie to be seen, in tolerances: edges of slanted faces do.
constexpr double kBehind = 4.0;

glm::dvec3 GetPoint(const GRepMesh& mesh, const glm::dmat4x3& placement, std::uint32_t vertex) {
  return placement * glm::dvec4(mesh.GetPosition(vertex), 1.0);
}

// Where the points of a placed body are seen: x and y in pixels from a point of the picture on, and z, their depth. As
// `Camera::Project` says, in a fraction of the time: a body has hundreds of thousands of points.
class BodySight {
 public:
  BodySight(const Camera& camera, const glm::dvec2& size, const glm::dmat4x3& placement,
            const glm::dvec2& point)
      : isPerspective_(camera.GetProjection() == Camera::Projection::kPerspective),
        scale_(1.0 / camera.GetPixelSize(1.0, size)),
        middle_(size / 2.0 - point) {
    const glm::dmat3 axes =
        glm::transpose(glm::dmat3(camera.GetRight(), -camera.GetUp(), camera.GetForward()));
    for (int column = 0; column < 4; ++column)
      turn_[column] = axes * (column == 3 ? placement[3] - camera.GetEye() : placement[column]);
  }

  glm::dvec3 Find(const glm::dvec3& position) const {
    const glm::dvec3 seen = turn_ * glm::dvec4(position, 1.0);
    const double scale = isPerspective_ ? scale_ / seen.z : scale_;
    return {middle_.x + seen.x * scale, middle_.y + seen.y * scale, seen.z};
  }

 private:
  const bool isPerspective_;
  const double scale_;
  const glm::dvec2 middle_;
  glm::dmat4x3 turn_;
};

// Whether a line lies beside the origin, farther away than `reach`, so that it need not be looked at.
bool IsBeside(const glm::dvec3& a, const glm::dvec3& b, double reach) {
  return (a.x > reach && b.x > reach) || (a.x < -reach && b.x < -reach) || (a.y > reach && b.y > reach) ||
         (a.y < -reach && b.y < -reach);
}

// The part of the way from a to b that is nearest to the origin, 0 to 1.
double GetNearest(const glm::dvec2& a, const glm::dvec2& b) {
  const glm::dvec2 d = b - a;
  const double square = glm::dot(d, d);
  return square > 0.0 ? std::clamp(-glm::dot(a, d) / square, 0.0, 1.0) : 0.0;
}

// A part of space behind planes: what a rectangle of a picture shows.
class Wedge {
 public:
  Wedge(const Camera& camera, const glm::dvec2& size, const glm::dvec2& low, const glm::dvec2& high) {
    const glm::dvec2 corners[4] = {low, {high.x, low.y}, high, {low.x, high.y}};
    for (int i = 0; i < 4; ++i) {
      const Ray ray = camera.GetRay(corners[i], size), next = camera.GetRay(corners[(i + 1) % 4], size);
      const glm::dvec3 normal =
          glm::normalize(glm::cross(next.origin + next.direction - ray.origin, ray.direction));
      Add({normal, glm::dot(normal, ray.origin)});
    }
    if (camera.GetProjection() == Camera::Projection::kPerspective) {
      const glm::dvec3 normal = -camera.GetForward();
      Add({normal, glm::dot(normal, camera.GetEye())});
    }
  }

  void Add(const SectionPlane& plane) { planes_.push_back(plane); }

  bool Contains(const glm::dvec3& point) const {
    return std::all_of(planes_.begin(), planes_.end(),
                       [&](const SectionPlane& plane) { return plane.GetDistance(point) <= 0.0; });
  }

  // True when all points lie in front of one of the planes: then nothing between them is inside.
  bool Misses(const std::array<glm::dvec3, 8>& points) const {
    return std::any_of(planes_.begin(), planes_.end(), [&](const SectionPlane& plane) {
      return std::all_of(points.begin(), points.end(),
                         [&](const glm::dvec3& point) { return plane.GetDistance(point) > 0.0; });
    });
  }

  // Whether something of a convex polygon is inside: what is left of it when each plane has cut its part off.
  bool Touches(std::vector<glm::dvec3> polygon) const {
    for (const SectionPlane& plane : planes_) {
      std::vector<glm::dvec3> left;
      for (std::size_t i = 0; i < polygon.size(); ++i) {
        const glm::dvec3 &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        const double atA = plane.GetDistance(a), atB = plane.GetDistance(b);
        if (atA <= 0.0) left.push_back(a);
        if ((atA < 0.0 && atB > 0.0) || (atA > 0.0 && atB < 0.0))
          left.push_back(a + (b - a) * (atA / (atA - atB)));
      }
      polygon = std::move(left);
      if (polygon.empty()) return false;
    }
    return true;
  }

 private:
  std::vector<SectionPlane> planes_;
};

bool IsInside(const Wedge& wedge, const GRepMesh& mesh, const glm::dmat4x3& placement) {
  return std::all_of(mesh.triangles.begin(), mesh.triangles.end(),
                     [&](std::uint32_t vertex) { return wedge.Contains(GetPoint(mesh, placement, vertex)); });
}

bool IsTouched(const Wedge& wedge, const GRepMesh& mesh, const glm::dmat4x3& placement) {
  for (std::size_t i = 0; i + 2 < mesh.triangles.size(); i += 3) {
    if (wedge.Touches({GetPoint(mesh, placement, mesh.triangles[i]),
                       GetPoint(mesh, placement, mesh.triangles[i + 1]),
                       GetPoint(mesh, placement, mesh.triangles[i + 2])}))
      return true;
  }
  return false;
}

}  // namespace

Picker::Picker(std::shared_ptr<const RayCaster> caster, const Camera& camera, const glm::dvec2& size,
               std::vector<SectionPlane> sections)
    : caster_(std::move(caster)),
      camera_(camera),
      size_(size),
      sections_(std::move(sections)),
      finder_(std::make_unique<SurfaceFinder>(*caster_, camera_, size_, sections_)) {}

Picker::~Picker() = default;

PickResult Picker::Pick(const glm::dvec2& point, double tolerance) const {
  PickResult result;
  Ray ray;
  result.hit = finder_->FindHit(point, ray);
  for (int circle = 1; circle <= kCircles && tolerance > 0.0 && !result.hit.IsHit(); ++circle) {
    for (int place = 0; place < kPlaces && !result.hit.IsHit(); ++place) {
      const double angle = 6.283185307179586 * place / kPlaces, radius = tolerance * circle / kCircles;
      result.hit = finder_->FindHit(point + glm::dvec2(std::cos(angle), std::sin(angle)) * radius, ray);
    }
  }
  if (!result.hit.IsHit()) return result;
  result.kind = PickResult::Kind::kFace;
  result.point = ray.origin + ray.direction * result.hit.distance;
  if (tolerance > 0.0) Snap(point, tolerance, result);
  return result;
}

void Picker::Snap(const glm::dvec2& point, double tolerance, PickResult& result) const {
  const GRepMesh& mesh = caster_->GetScene().GetBatch(result.hit.placement).grep->GetMesh();
  const glm::dmat4x3 placement = caster_->GetScene().GetPlacement(result.hit.placement);
  const double depth = camera_.Project(result.point, size_).z;
  const double deepest = depth + kBehind * tolerance * camera_.GetPixelSize(depth, size_);
  const auto isSeen = [&](const glm::dvec3& place, double placeDepth) {
    return placeDepth <= deepest &&
           std::all_of(sections_.begin(), sections_.end(),
                       [&](const SectionPlane& plane) { return plane.GetDistance(place) <= 0.0; });
  };
  const BodySight sight(camera_, size_, placement, point);
  double nearestVertex = tolerance, nearestEdge = tolerance;
  PickResult vertexPick = result, edgePick = result;
  for (std::uint32_t edge = 0; edge < mesh.edges.size(); ++edge) {
    const GRepEdge& range = mesh.edges[edge];
    glm::dvec3 before(0.0), beforeSeen(0.0);
    for (std::uint32_t i = 0; i < range.indexCount; ++i) {
      const std::uint32_t vertex = mesh.polylines[range.firstIndex + i];
      const glm::dvec3 position = mesh.GetPosition(vertex);
      const glm::dvec3 seen = sight.Find(position);
      const bool isEnd = i == 0 || i + 1 == range.indexCount;
      if (isEnd && glm::length(glm::dvec2(seen)) < nearestVertex) {
        const glm::dvec3 place = placement * glm::dvec4(position, 1.0);
        if (isSeen(place, seen.z)) {
          nearestVertex = glm::length(glm::dvec2(seen));
          vertexPick.kind = PickResult::Kind::kVertex;
          vertexPick.vertex = vertex;
          vertexPick.point = place;
        }
      }
      if (i > 0 && !IsBeside(beforeSeen, seen, nearestEdge)) {
        const double part = GetNearest(glm::dvec2(beforeSeen), glm::dvec2(seen));
        const glm::dvec3 nearest = beforeSeen + (seen - beforeSeen) * part;
        const glm::dvec3 onEdge = placement * glm::dvec4(before + (position - before) * part, 1.0);
        if (glm::length(glm::dvec2(nearest)) < nearestEdge && isSeen(onEdge, nearest.z)) {
          nearestEdge = glm::length(glm::dvec2(nearest));
          edgePick.kind = PickResult::Kind::kEdge;
          edgePick.edge = edge;
          edgePick.point = onEdge;
        }
      }
      before = position;
      beforeSeen = seen;
    }
  }
  if (vertexPick.kind == PickResult::Kind::kVertex)
    result = vertexPick;
  else if (edgePick.kind == PickResult::Kind::kEdge)
    result = edgePick;
}

std::vector<std::uint32_t> Picker::PickRectangle(const glm::dvec2& corner, const glm::dvec2& opposite,
                                                 Reach reach) const {
  std::vector<std::uint32_t> picked;
  const glm::dvec2 low = glm::min(corner, opposite), high = glm::max(corner, opposite);
  if (!(high.x > low.x && high.y > low.y)) return picked;
  Wedge wedge(camera_, size_, low, high);
  if (reach == Reach::kTouching) {
    for (const SectionPlane& plane : sections_)
      wedge.Add(plane);
  }
  const DrawScene& scene = caster_->GetScene();
  for (const DrawBatch& batch : scene.GetBatches()) {
    const GRepMesh& mesh = batch.grep->GetMesh();
    for (std::size_t i = 0; i < batch.placements.size() && !batch.ghost; ++i) {
      const std::uint32_t placement = batch.first + static_cast<std::uint32_t>(i);
      const std::array<glm::dvec3, 8> corners = scene.GetCorners(placement);
      if (wedge.Misses(corners)) continue;
      const bool isIn =
          std::all_of(corners.begin(), corners.end(), [&](const glm::dvec3& p) { return wedge.Contains(p); });
      if (isIn || (reach == Reach::kInside ? IsInside(wedge, mesh, batch.placements[i])
                                           : IsTouched(wedge, mesh, batch.placements[i])))
        picked.push_back(placement);
    }
  }
  return picked;
}

}  // namespace mirel

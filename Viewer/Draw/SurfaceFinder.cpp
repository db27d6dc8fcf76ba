#include <Viewer/Draw/SurfaceFinder.h>

#include <Viewer/Draw/ClosedMesh.h>
#include <Viewer/Draw/DrawScene.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <array>
#include <limits>

namespace mirel {

namespace {

constexpr std::size_t kAtOnce = 64;

constexpr float kMargin = 1.0f;  // pixels around what may be seen

// Two hits of a ray where two triangles of one body meet are one; so near, compared with the size of the scene.
constexpr double kSamePlace = 1e-6;

// How often a ray comes out of a body without having gone in before.
struct Passage {
  std::uint32_t placement;
  int balance;
};

}  // namespace

SurfaceFinder::SurfaceFinder(const RayCaster& caster, const Camera& camera, const glm::dvec2& size,
                             const std::vector<SectionPlane>& sections)
    : caster_(caster),
      camera_(camera),
      size_(size),
      lens_(camera, size),
      center_(caster.GetCenter() - camera.GetTarget()),
      eye_(camera.GetEye() - camera.GetTarget()),
      forward_(camera.GetForward()),
      low_(std::numeric_limits<float>::max()),
      high_(std::numeric_limits<float>::lowest()),
      sections_(sections) {
  FindExtent();
  if (sections.empty()) return;
  std::unordered_set<const GRepShape*> known;
  for (const DrawBatch& batch : caster.GetScene().GetBatches()) {
    if (known.insert(batch.grep.get()).second && IsClosedMesh(batch.grep->GetMesh()))
      closed_.insert(batch.grep.get());
  }
}

void SurfaceFinder::FindExtent() {
  const AABoxT<double>& box = caster_.GetScene().GetBox();
  if (!box.IsFinite()) return;
  std::vector<glm::dvec2> corners;
  for (const glm::dvec3& corner : GetBoxCorners(box)) {
    const glm::dvec3 seen = camera_.Project(corner, size_);
    if (camera_.GetProjection() == Camera::Projection::kPerspective && !(seen.z > 0.0)) {
      low_ = glm::vec2(0.0f);
      high_ = glm::vec2(size_);
      return;
    }
    low_ = glm::min(low_, glm::vec2(seen) - kMargin);
    high_ = glm::max(high_, glm::vec2(seen) + kMargin);
    corners.emplace_back(seen);
  }
  FindOutline(corners);
}

// The sides of the convex hull: those from one corner to another that leave all corners on one side.
void SurfaceFinder::FindOutline(const std::vector<glm::dvec2>& corners) {
  for (const glm::dvec2& from : corners) {
    for (const glm::dvec2& to : corners) {
      const glm::dvec2 way = to - from;
      const double length = glm::length(way);
      if (!(length > 1.0)) continue;  // pixels: what is smaller, the rectangle tells well enough
      const glm::dvec2 outwards(way.y / length, -way.x / length);
      double farthest = std::numeric_limits<double>::lowest();
      for (const glm::dvec2& corner : corners)
        farthest = std::max(farthest, glm::dot(corner, outwards));
      if (farthest - glm::dot(from, outwards) < 1e-3)
        outline_.push_back({glm::vec2(outwards), static_cast<float>(farthest) + kMargin});
    }
  }
}

int SurfaceFinder::Clip(Ray& ray) const {
  int entered = -1;
  for (std::size_t i = 0; i < sections_.size(); ++i) {
    const double away = sections_[i].GetDistance(ray.origin);
    const double speed = glm::dot(sections_[i].normal, ray.direction);
    if (speed < 0.0) {
      if (away / -speed > ray.nearest) {
        ray.nearest = away / -speed;
        entered = static_cast<int>(i);
      }
    } else if (speed > 0.0) {
      ray.farthest = std::min(ray.farthest, -away / speed);
    } else if (away > 0.0) {
      ray.farthest = -std::numeric_limits<double>::max();
    }
  }
  return entered;
}

void SurfaceFinder::FindCut(const Ray& ray, int plane, RayHit& hit) const {
  const DrawScene& scene = caster_.GetScene();
  Ray onwards = ray;
  onwards.farthest = 1e30;
  std::vector<Passage> passages;
  const AABoxT<double>& box = scene.GetBox();
  const double near = kSamePlace * glm::length(box.GetMax() - box.GetMin());
  const std::vector<RayHit> hits = caster_.CastThrough(onwards);
  for (std::size_t i = 0; i < hits.size(); ++i) {
    const RayHit& passed = hits[i];
    bool again = false;
    for (std::size_t j = i; j-- > 0 && hits[j].distance >= passed.distance - near;)
      again = again || (hits[j].placement == passed.placement && hits[j].fromInside == passed.fromInside);
    if (again) continue;
    auto passage = std::find_if(passages.begin(), passages.end(),
                                [&](const Passage& p) { return p.placement == passed.placement; });
    if (passage == passages.end()) passage = passages.insert(passages.end(), {passed.placement, 0});
    passage->balance += passed.fromInside ? 1 : -1;
  }
  // Where bodies overlap, always the same one is seen.
  std::uint32_t first = RayHit::kNone;
  for (const Passage& passage : passages) {
    if (passage.balance > 0 && closed_.count(scene.GetBatch(passage.placement).grep.get()) > 0)
      first = std::min(first, passage.placement);
  }
  if (first == RayHit::kNone) return;
  hit.distance = ray.nearest;
  hit.placement = first;
  hit.face = FaceMap::kCut + static_cast<std::uint32_t>(plane);
  hit.normal = hit.flatNormal = glm::vec3(sections_[static_cast<std::size_t>(plane)].normal);
  hit.fromInside = false;
}

RayHit SurfaceFinder::FindHit(const glm::dvec2& point, Ray& ray) const {
  ray = lens_.GetRay(point);
  const int plane = Clip(ray);
  RayHit hit = caster_.Cast(ray);
  if (plane >= 0 && ray.nearest < ray.farthest) FindCut(ray, plane, hit);
  return hit;
}

void SurfaceFinder::Find(const std::vector<Point>& points, std::vector<Surface>& surfaces,
                         RayCaster::Layer layer) const {
  for (std::size_t first = 0; first < points.size(); first += kAtOnce)
    FindSome(&points[first], std::min(kAtOnce, points.size() - first), surfaces.data(), layer);
}

// Replaces what is behind a cut. Distances are those of short rays.
void SurfaceFinder::FindCuts(const Point* points, std::size_t count, RayHit* hits) const {
  for (std::size_t i = 0; i < count; ++i) {
    Ray ray = lens_.GetRay(points[i].point);
    const int plane = Clip(ray);
    if (plane < 0 || !(ray.nearest < ray.farthest)) continue;
    double start = 0.0;
    caster_.Shorten(ray, start);
    hits[i].distance += start;
    FindCut(ray, plane, hits[i]);
    hits[i].distance -= start;
  }
}

void SurfaceFinder::FindSome(const Point* points, std::size_t count, Surface* surfaces,
                             RayCaster::Layer layer) const {
  std::array<ShortRay, kAtOnce> rays;
  std::array<RayHit, kAtOnce> hits;
  double start = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    Ray ray = lens_.GetRay(points[i].point);
    if (!sections_.empty()) Clip(ray);
    rays[i] = caster_.Shorten(ray, start);
  }
  caster_.Cast(rays.data(), hits.data(), count, layer);
  if (!sections_.empty() && layer == RayCaster::Layer::kSolid) FindCuts(points, count, hits.data());
  for (std::size_t i = 0; i < count; ++i) {
    const RayHit& hit = hits[i];
    if (!hit.IsHit()) continue;
    Surface& surface = surfaces[points[i].place];
    surface.placement = hit.placement;
    surface.face = hit.face;
    surface.point = rays[i].origin + rays[i].direction * static_cast<float>(hit.distance) + center_;
    surface.depth = glm::dot(surface.point - eye_, forward_);
    surface.pixel = static_cast<float>(lens_.GetPixelSize(static_cast<double>(surface.depth)));
    surface.isBack = hit.fromInside;
    surface.normal = hit.fromInside ? -hit.normal : hit.normal;
    surface.flatNormal = hit.fromInside ? -hit.flatNormal : hit.flatNormal;
  }
}

}  // namespace mirel

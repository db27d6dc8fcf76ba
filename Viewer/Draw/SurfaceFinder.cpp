#include <Viewer/Draw/SurfaceFinder.h>

#include <Viewer/Draw/ClosedMesh.h>
#include <Viewer/Draw/DrawScene.h>

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
  for (int corner = 0; corner < 8 && box.IsFinite(); ++corner) {
    const glm::dvec3 place((corner & 1) != 0 ? box.GetMax().x : box.GetMin().x,
                           (corner & 2) != 0 ? box.GetMax().y : box.GetMin().y,
                           (corner & 4) != 0 ? box.GetMax().z : box.GetMin().z);
    const glm::dvec3 seen = camera_.Project(place, size_);
    if (camera_.GetProjection() == Camera::Projection::kPerspective && !(seen.z > 0.0)) {
      low_ = glm::vec2(0.0f);
      high_ = glm::vec2(size_);
      return;
    }
    low_ = glm::min(low_, glm::vec2(seen) - kMargin);
    high_ = glm::max(high_, glm::vec2(seen) + kMargin);
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

void SurfaceFinder::FindSome(const Point* points, std::size_t count, Surface* surfaces,
                             RayCaster::Layer layer) const {
  std::array<Ray, kAtOnce> rays;
  std::array<int, kAtOnce> planes = {};
  std::array<RayHit, kAtOnce> hits;
  std::array<std::uint32_t, kAtOnce> places = {};
  std::size_t cast = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (IsAside(points[i].point, points[i].point)) continue;
    rays[cast] = lens_.GetRay(points[i].point);
    planes[cast] = Clip(rays[cast]);
    places[cast++] = points[i].place;
  }
  caster_.Cast(rays.data(), hits.data(), cast, layer);
  for (std::size_t i = 0; i < cast; ++i) {
    const Ray& ray = rays[i];
    RayHit& hit = hits[i];
    if (planes[i] >= 0 && layer == RayCaster::Layer::kSolid && ray.nearest < ray.farthest)
      FindCut(ray, planes[i], hit);
    if (!hit.IsHit()) continue;
    Surface& surface = surfaces[places[i]];
    surface.placement = hit.placement;
    surface.face = hit.face;
    const glm::dvec3 point = ray.origin + ray.direction * hit.distance;
    surface.depth = static_cast<float>(glm::dot(point - camera_.GetEye(), camera_.GetForward()));
    surface.pixel = static_cast<float>(lens_.GetPixelSize(static_cast<double>(surface.depth)));
    surface.point = glm::vec3(point - camera_.GetTarget());
    surface.isBack = hit.fromInside;
    surface.normal = hit.fromInside ? -hit.normal : hit.normal;
    surface.flatNormal = hit.fromInside ? -hit.flatNormal : hit.flatNormal;
  }
}

}  // namespace mirel

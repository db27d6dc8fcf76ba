#include <Viewer/Draw/PlacedGroups.h>

#include <Viewer/Draw/DrawScene.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mirel {

namespace {

// The lower ten bits, with two zeros between each and the next.
std::uint32_t Spread(std::uint32_t bits) {
  bits &= 0x3FFu;
  bits = (bits | bits << 16) & 0x030000FFu;
  bits = (bits | bits << 8) & 0x0300F00Fu;
  bits = (bits | bits << 4) & 0x030C30C3u;
  return (bits | bits << 2) & 0x09249249u;
}

// Down and up, so that a float bounds a double.
float RoundDown(double value) {
  return std::nextafter(static_cast<float>(value), std::numeric_limits<float>::lowest());
}
float RoundUp(double value) {
  return std::nextafter(static_cast<float>(value), std::numeric_limits<float>::max());
}

}  // namespace

PlacedGroups::PlacedGroups(const DrawScene& scene, const DrawBatch& batch, RTCScene body,
                           const glm::dvec3& middle, const glm::dvec3& center)
    : scene_(scene), batch_(batch), body_(body), middle_(middle), center_(center) {
  const AABoxT<double>& box = batch.grep->GetMesh().box;
  radius_ = glm::length(box.GetMax() - box.GetMin()) * 0.5;
  SortByPlace();
}

// Along a curve that fills space (Z-order), places that follow each other are neighbours.
void PlacedGroups::SortByPlace() {
  AABoxT<double> box;
  for (std::size_t i = 0; i < batch_.placements.size(); ++i)
    box.Extend(batch_.placements.GetOrigin(i));
  const glm::dvec3 step = glm::max((box.GetMax() - box.GetMin()) / 1023.0, glm::dvec3(1e-9));
  std::vector<std::pair<std::uint32_t, std::uint32_t>> places;
  places.reserve(batch_.placements.size());
  for (std::uint32_t i = 0; i < batch_.placements.size(); ++i) {
    const glm::dvec3 at = (batch_.placements.GetOrigin(i) - box.GetMin()) / step;
    places.emplace_back(Spread(static_cast<std::uint32_t>(at.x)) |
                            Spread(static_cast<std::uint32_t>(at.y)) << 1 |
                            Spread(static_cast<std::uint32_t>(at.z)) << 2,
                        i);
  }
  std::sort(places.begin(), places.end());
  order_.reserve(places.size());
  for (const auto& [place, number] : places)
    order_.push_back(number);
}

std::uint32_t PlacedGroups::CountGroups() const {
  return static_cast<std::uint32_t>((order_.size() + kGroup - 1) / kGroup);
}

RTCGeometry PlacedGroups::MakeGeometry(RTCDevice device) {
  const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_USER);
  if (geometry == nullptr) return nullptr;
  rtcSetGeometryUserPrimitiveCount(geometry, CountGroups());
  rtcSetGeometryUserData(geometry, this);
  rtcSetGeometryBoundsFunction(geometry, FindBounds, nullptr);
  rtcSetGeometryIntersectFunction(geometry, Intersect);
  rtcSetGeometryOccludedFunction(geometry, Occlude);
  return geometry;
}

template <typename Action>
void PlacedGroups::ForEach(std::uint32_t group, const Action& action) const {
  const std::size_t behind = std::min<std::size_t>(order_.size(), (std::size_t{group} + 1) * kGroup);
  for (std::size_t i = std::size_t{group} * kGroup; i < behind; ++i)
    action(order_[i]);
}

void PlacedGroups::FindBounds(const RTCBoundsFunctionArguments* arguments) {
  const auto& own = *static_cast<const PlacedGroups*>(arguments->geometryUserPtr);
  AABoxT<double> box;
  own.ForEach(arguments->primID,
              [&](std::uint32_t number) { box.Merge(own.scene_.GetBox(own.batch_.first + number)); });
  // What rays are compared with is rounded too.
  const double margin = 1e-6 * glm::length(glm::max(glm::abs(box.GetMin() - own.center_),
                                                    glm::abs(box.GetMax() - own.center_)));
  const glm::dvec3 low = box.GetMin() - own.center_ - margin, high = box.GetMax() - own.center_ + margin;
  RTCBounds& bounds = *arguments->bounds_o;
  bounds.lower_x = RoundDown(low.x);
  bounds.lower_y = RoundDown(low.y);
  bounds.lower_z = RoundDown(low.z);
  bounds.upper_x = RoundUp(high.x);
  bounds.upper_y = RoundUp(high.y);
  bounds.upper_z = RoundUp(high.z);
}

bool PlacedGroups::Enter(std::uint32_t number, const RTCRay& ray, RTCRay& local) const {
  const glm::dmat3& turn = batch_.placements.GetTurn(number);
  const glm::dvec3 middle = turn * middle_ + (batch_.placements.GetOrigin(number) - center_);
  const glm::dvec3 from = glm::dvec3(ray.org_x, ray.org_y, ray.org_z) - middle;
  const glm::dvec3 direction(ray.dir_x, ray.dir_y, ray.dir_z);
  // No place of it is farther from its middle than this, however it is sheared.
  const double square =
      radius_ * radius_ *
      (glm::dot(turn[0], turn[0]) + glm::dot(turn[1], turn[1]) + glm::dot(turn[2], turn[2]));
  const double along = glm::dot(from, direction) / glm::dot(direction, direction);
  const glm::dvec3 nearest = from - direction * along;
  if (glm::dot(nearest, nearest) > square) return false;
  const glm::dmat3 back = glm::inverse(turn);
  const glm::vec3 origin(back * from), turned(back * direction);
  local = ray;
  local.org_x = origin.x;
  local.org_y = origin.y;
  local.org_z = origin.z;
  local.dir_x = turned.x;
  local.dir_y = turned.y;
  local.dir_z = turned.z;
  return true;
}

void PlacedGroups::Intersect(const RTCIntersectFunctionNArguments* arguments) {
  const auto& own = *static_cast<const PlacedGroups*>(arguments->geometryUserPtr);
  const unsigned count = arguments->N;
  RTCRayN* const rays = RTCRayHitN_RayN(arguments->rayhit, count);
  RTCHitN* const hits = RTCRayHitN_HitN(arguments->rayhit, count);
  for (unsigned i = 0; i < count; ++i) {
    if (arguments->valid[i] == 0) continue;
    RTCRay ray = rtcGetRayFromRayN(rays, count, i);
    own.ForEach(arguments->primID, [&](std::uint32_t number) {
      RTCRayHit local = {};
      if (!own.Enter(number, ray, local.ray)) return;
      local.hit.geomID = RTC_INVALID_GEOMETRY_ID;
      arguments->context->instID[0] = own.batch_.first + number;
      rtcIntersect1(own.body_, arguments->context, &local);
      arguments->context->instID[0] = RTC_INVALID_GEOMETRY_ID;
      if (local.hit.geomID == RTC_INVALID_GEOMETRY_ID) return;
      ray.tfar = local.ray.tfar;
      RTCRayN_tfar(rays, count, i) = local.ray.tfar;
      rtcCopyHitToHitN(hits, &local.hit, count, i);
    });
  }
}

void PlacedGroups::Occlude(const RTCOccludedFunctionNArguments* arguments) {
  const auto& own = *static_cast<const PlacedGroups*>(arguments->geometryUserPtr);
  for (unsigned i = 0; i < arguments->N; ++i) {
    if (arguments->valid[i] == 0) continue;
    const RTCRay ray = rtcGetRayFromRayN(arguments->ray, arguments->N, i);
    bool isBlocked = false;
    own.ForEach(arguments->primID, [&](std::uint32_t number) {
      RTCRay local;
      if (isBlocked || !own.Enter(number, ray, local)) return;
      rtcOccluded1(own.body_, arguments->context, &local);
      isBlocked = local.tfar < 0.0f;
    });
    if (isBlocked) RTCRayN_tfar(arguments->ray, arguments->N, i) = -std::numeric_limits<float>::infinity();
  }
}

}  // namespace mirel

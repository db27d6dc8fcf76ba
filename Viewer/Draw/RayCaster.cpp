#include <Viewer/Draw/RayCaster.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/ParallelLoop.h>
#include <Viewer/Draw/PlacedGroups.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <embree3/rtcore.h>

#include <glm/geometric.hpp>
#include <glm/mat3x3.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <numeric>
#include <unordered_map>

// This and PlacedGroups alone know Embree, whose version 4 has other names for much of it.

namespace mirel {

namespace {

constexpr std::size_t kPacket = 8, kAtOnce = 64;
// More placed bodies than this are halved so often. Each ray goes through all parts.
constexpr std::size_t kMostTogether = PlacedGroups::kMany;
constexpr int kSplits = 2;
constexpr unsigned kSolidMask = 1, kGhostMask = 2;

// One body as Embree has it.
struct Body {
  const GRepMesh* mesh = nullptr;
  glm::dvec3 middle = glm::dvec3(0.0);  // of the coordinates that Embree has, which are near zero to be exact
  RTCScene scene = nullptr;
  std::vector<glm::vec3> normals;            // by vertex
  std::vector<std::uint32_t> triangleFaces;  // by triangle
};

// A placed body: its number, and the middle of its own box in the scene, from the scene's.
struct Place {
  glm::vec3 middle;
  std::uint32_t placement;
};

// Some of the placed bodies, near to each other.
struct Part {
  std::vector<Place> places;  // until there is a scene
  // By Embree's numbers, which leave none out: gaps take time and memory. Empty for groups, which tell the placement itself.
  std::vector<std::uint32_t> placements;
  RTCScene scene = nullptr;

  std::uint32_t GetPlacement(unsigned number) const {
    return placements.empty() ? number : placements[number];
  }
};

void ThrowIfFailed(RTCDevice device) {
  if (rtcGetDeviceError(device) != RTC_ERROR_NONE) throw std::bad_alloc();
}

// Gives every hit of one ray to a list, and goes on.
struct ThroughContext : RTCIntersectContext {
  std::vector<RTCHit> hits;
  std::vector<float> distances;
};

void CollectHit(const RTCFilterFunctionNArguments* arguments) {
  auto& context = *static_cast<ThroughContext*>(arguments->context);
  for (unsigned i = 0; i < arguments->N; ++i) {
    if (arguments->valid[i] == 0) continue;
    context.hits.push_back(rtcGetHitFromHitN(arguments->hit, arguments->N, i));
    context.distances.push_back(RTCRayN_tfar(arguments->ray, arguments->N, i));
    arguments->valid[i] = 0;
  }
}

unsigned GetMask(RayCaster::Layer layer) {
  return layer == RayCaster::Layer::kGhost ? kGhostMask : kSolidMask;
}

// One ray for Embree; false when it meets nothing.
bool Prepare(const ShortRay& ray, unsigned mask, RTCRayHit& one) {
  if (!(ray.length >= 0.0f)) return false;
  one.ray.org_x = ray.origin.x;
  one.ray.org_y = ray.origin.y;
  one.ray.org_z = ray.origin.z;
  one.ray.dir_x = ray.direction.x;
  one.ray.dir_y = ray.direction.y;
  one.ray.dir_z = ray.direction.z;
  one.ray.tfar = ray.length;
  one.ray.mask = mask;
  one.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  return true;
}

// Several rays side by side; what there are too few of is not valid.
void Fill(const ShortRay* rays, std::size_t count, RTCRay8& packet, int* valid) {
  for (std::size_t i = 0; i < kPacket; ++i) {
    const ShortRay& ray = rays[std::min(i, count - 1)];
    packet.org_x[i] = ray.origin.x;
    packet.org_y[i] = ray.origin.y;
    packet.org_z[i] = ray.origin.z;
    packet.dir_x[i] = ray.direction.x;
    packet.dir_y[i] = ray.direction.y;
    packet.dir_z[i] = ray.direction.z;
    packet.tfar[i] = ray.length;
    valid[i] = i < count && ray.length >= 0.0f ? -1 : 0;
  }
}

}  // namespace

struct RayCaster::Index {
  Index(const DrawScene& drawn, const glm::dvec3& middle, Aim aim) : scene(drawn), center(middle) {
    // Embree's builds on several threads may differ from run to run in what is found first among equals.
    device = rtcNewDevice("threads=1");
    if (device == nullptr) throw std::bad_alloc();
    try {
      Build(aim);
    } catch (...) {
      Release();
      throw;
    }
  }
  ~Index() { Release(); }

  Index(const Index&) = delete;
  Index& operator=(const Index&) = delete;

  void Build(Aim aim) {
    std::unordered_map<const GRepShape*, std::size_t> known;
    for (const DrawBatch& batch : scene.GetBatches()) {
      const auto [place, isNew] = known.try_emplace(batch.grep.get(), bodies.size());
      if (isNew) bodies.emplace_back().mesh = &batch.grep->GetMesh();
      batchBodies.push_back(place->second);
    }
    MakeBodies();
    if (aim == Aim::kMemory && scene.GetPlacementCount() >= PlacedGroups::kMany) {
      MakeGroups();
      return;
    }
    Share();
    ParallelLoop(parts.size(), 0, [this](std::size_t i) { MakePart(parts[i]); });
  }

  void MakeGroups() {
    Part& all = parts.emplace_back();
    all.scene = NewScene();
    for (std::size_t i = 0; i < batchBodies.size(); ++i) {
      const Body& body = bodies[batchBodies[i]];
      const DrawBatch& batch = scene.GetBatches()[i];
      groups.push_back(std::make_unique<PlacedGroups>(scene, batch, body.scene, body.middle, center));
      Add(all.scene, groups.back()->MakeGeometry(device), batch, static_cast<unsigned>(i));
    }
    rtcCommitScene(all.scene);
    ThrowIfFailed(device);
  }

  // Shares the placed bodies out, so that several threads can make trees of many. How, does not depend on how many threads
  // there are.
  void Share() {
    parts.emplace_back();
    for (std::size_t batch = 0; batch < batchBodies.size(); ++batch) {
      const glm::dvec3& middle = bodies[batchBodies[batch]].middle;
      for (const glm::dmat4x3& placement : scene.GetBatches()[batch].placements)
        parts[0].places.push_back({glm::vec3(placement * glm::dvec4(middle, 1.0) - center),
                                   static_cast<std::uint32_t>(parts[0].places.size())});
    }
    for (int split = 0; split < kSplits && parts[0].places.size() > kMostTogether; ++split) {
      for (std::size_t i = parts.size(); i-- > 0;)
        parts.push_back(SplitPart(parts[i]));
    }
  }

  // Several at once, the largest first; each on one thread alone.
  void MakeBodies() {
    std::vector<std::size_t> order(bodies.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
      return bodies[a].mesh->triangles.size() > bodies[b].mesh->triangles.size();
    });
    ParallelLoop(order.size(), 0, [&](std::size_t i) { MakeBody(bodies[order[i]]); });
  }

  void Release() {
    for (const Part& part : parts) {
      if (part.scene != nullptr) rtcReleaseScene(part.scene);
    }
    for (const Body& body : bodies) {
      if (body.scene != nullptr) rtcReleaseScene(body.scene);
    }
    rtcReleaseDevice(device);
  }

  RTCScene NewScene() const {
    const RTCScene made = rtcNewScene(device);
    if (made == nullptr) throw std::bad_alloc();
    // Robust: no ray slips through between two triangles.
    rtcSetSceneFlags(
        made, static_cast<RTCSceneFlags>(RTC_SCENE_FLAG_ROBUST | RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION));
    return made;
  }

  void MakeBody(Body& body) const {
    const GRepMesh& mesh = *body.mesh;
    body.middle = (mesh.box.GetMin() + mesh.box.GetMax()) * 0.5;
    body.normals.resize(mesh.GetVertexCount());
    if (!body.normals.empty()) mesh.CopyNormals(&body.normals[0].x);
    body.triangleFaces = mesh.MakeFaceOfTriangle();
    body.scene = NewScene();
    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.triangles.data(), 0,
                               3 * sizeof(std::uint32_t), mesh.GetTriangleCount());
    auto* const points = static_cast<float*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), mesh.GetVertexCount()));
    if (points != nullptr) {
      mesh.CopyPositions(points, 3, body.middle);
      rtcCommitGeometry(geometry);
      rtcAttachGeometry(body.scene, geometry);
    }
    rtcReleaseGeometry(geometry);
    rtcCommitScene(body.scene);
    ThrowIfFailed(device);
  }

  // Takes one half of the places away, across the longest side of their box.
  static Part SplitPart(Part& part) {
    glm::vec3 low(part.places[0].middle), high(low);
    for (const Place& place : part.places) {
      low = glm::min(low, place.middle);
      high = glm::max(high, place.middle);
    }
    const glm::vec3 size = high - low;
    const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
    const auto half = part.places.begin() + static_cast<std::ptrdiff_t>(part.places.size() / 2);
    std::nth_element(part.places.begin(), half, part.places.end(), [axis](const Place& a, const Place& b) {
      return a.middle[axis] != b.middle[axis] ? a.middle[axis] < b.middle[axis] : a.placement < b.placement;
    });
    Part other;
    other.places.assign(half, part.places.end());
    part.places.erase(half, part.places.end());
    return other;
  }

  void MakePart(Part& part) const {
    std::sort(part.places.begin(), part.places.end(),
              [](const Place& a, const Place& b) { return a.placement < b.placement; });
    part.scene = NewScene();
    part.placements.reserve(part.places.size());
    for (const Place& place : part.places) {
      AddInstance(part.scene, place, static_cast<unsigned>(part.placements.size()));
      part.placements.push_back(place.placement);
    }
    std::vector<Place>().swap(part.places);
    rtcCommitScene(part.scene);
    ThrowIfFailed(device);
  }

  void AddInstance(RTCScene part, const Place& place, unsigned number) const {
    const DrawBatch& batch = scene.GetBatch(place.placement);
    const glm::dmat3& turn = batch.placements.GetTurn(place.placement - batch.first);
    float matrix[12];
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column)
        matrix[3 * column + row] = static_cast<float>(turn[column][row]);
      matrix[9 + row] = place.middle[row];
    }
    const RTCGeometry instance = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
    if (instance == nullptr) throw std::bad_alloc();
    rtcSetGeometryInstancedScene(instance, FindBody(batch).scene);
    rtcSetGeometryTransform(instance, 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR, matrix);
    Add(part, instance, batch, number);
  }

  static void Add(RTCScene part, RTCGeometry geometry, const DrawBatch& batch, unsigned number) {
    if (geometry == nullptr) throw std::bad_alloc();
    rtcSetGeometryMask(geometry, batch.ghost ? kGhostMask : kSolidMask);
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(part, geometry, number);
    rtcReleaseGeometry(geometry);
  }

  const Body& FindBody(const DrawBatch& batch) const {
    return bodies[batchBodies[static_cast<std::size_t>(&batch - scene.GetBatches().data())]];
  }

  // What hits of one placed body have in common.
  struct Placed {
    std::uint32_t placement = RayHit::kNone;
    const Body* body = nullptr;
    glm::mat3 cofactors = glm::mat3(1.0f);
  };

  Placed FindPlaced(std::uint32_t placement) const {
    const DrawBatch& batch = scene.GetBatch(placement);
    const glm::mat3 turn(batch.placements.GetTurn(placement - batch.first));
    // Out of the material stays out of it through any placement that way, mirrors included.
    glm::mat3 cofactors(glm::cross(turn[1], turn[2]), glm::cross(turn[2], turn[0]),
                        glm::cross(turn[0], turn[1]));
    if (glm::dot(turn[0], cofactors[0]) < 0.0f) cofactors = -cofactors;
    return {placement, &bodies[batchBodies[static_cast<std::size_t>(&batch - scene.GetBatches().data())]],
            cofactors};
  }

  // `placed` is of the hit before, or none: neighbours are often of one body.
  void Resolve(const RTCHit& hit, std::uint32_t placement, const glm::vec3& direction, double distance,
               Placed& placed, RayHit& result) const {
    if (placed.placement != placement) placed = FindPlaced(placement);
    const Body& body = *placed.body;
    const std::uint32_t* const corners = &body.mesh->triangles[std::size_t{3} * hit.primID];
    const glm::vec3 smooth = body.normals[corners[0]] * (1.0f - hit.u - hit.v) +
                             body.normals[corners[1]] * hit.u + body.normals[corners[2]] * hit.v;
    result.distance = distance;
    result.placement = placement;
    result.triangle = hit.primID;
    result.face = body.triangleFaces[hit.primID];
    result.flatNormal = glm::normalize(placed.cofactors * glm::vec3(hit.Ng_x, hit.Ng_y, hit.Ng_z));
    result.fromInside = glm::dot(result.flatNormal, direction) > 0.0f;
    const glm::vec3 normal = placed.cofactors * smooth;
    // A normal that points to the other side of its triangle is none.
    result.normal = glm::dot(normal, result.flatNormal) > 0.0f ? glm::normalize(normal) : result.flatNormal;
  }

  const DrawScene& scene;
  RTCDevice device = nullptr;
  std::vector<Part> parts;
  std::vector<std::unique_ptr<PlacedGroups>> groups;
  const glm::dvec3 center;  // of Embree's coordinates
  std::vector<Body> bodies;
  std::vector<std::size_t> batchBodies;  // for each batch, its place in `bodies`
};

RayCaster::RayCaster(std::shared_ptr<const DrawScene> scene, Aim aim) : scene_(std::move(scene)) {
  const AABoxT<double>& box = scene_->GetBox();
  if (box.IsFinite()) {
    center_ = (box.GetMin() + box.GetMax()) * 0.5;
    radius_ = glm::length(box.GetMax() - box.GetMin()) * 0.5 + 1e-3;
  }
  index_ = std::make_unique<Index>(*scene_, center_, aim);
}

RayCaster::~RayCaster() = default;

void RayCaster::Cast(const Ray* rays, RayHit* hits, std::size_t count, Layer layer) const {
  std::array<ShortRay, kAtOnce> some;
  std::array<double, kAtOnce> starts = {};
  for (std::size_t first = 0; first < count; first += kAtOnce) {
    const std::size_t taken = std::min(kAtOnce, count - first);
    for (std::size_t i = 0; i < taken; ++i)
      some[i] = Shorten(rays[first + i], starts[i]);
    Cast(some.data(), hits + first, taken, layer);
    for (std::size_t i = 0; i < taken; ++i) {
      if (hits[first + i].IsHit()) hits[first + i].distance += starts[i];
    }
  }
}

void RayCaster::Cast(const ShortRay* rays, RayHit* hits, std::size_t count, Layer layer) const {
  RTCIntersectContext context = {};
  rtcInitIntersectContext(&context);
  context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
  Index::Placed placed;
  alignas(64) RTCRayHit8 packet = {};
  alignas(64) int valid[kPacket];
  std::fill_n(packet.ray.mask, kPacket, GetMask(layer));
  for (std::size_t first = 0; first < count; first += kPacket) {
    const std::size_t taken = std::min(kPacket, count - first);
    Fill(rays + first, taken, packet.ray, valid);
    std::fill_n(packet.hit.geomID, kPacket, RTC_INVALID_GEOMETRY_ID);
    std::uint32_t placements[kPacket] = {};
    for (const Part& part : index_->parts) {
      std::fill_n(packet.hit.instID[0], kPacket, RTC_INVALID_GEOMETRY_ID);
      rtcIntersect8(valid, part.scene, &context, &packet);
      for (std::size_t i = 0; i < taken; ++i) {
        if (packet.hit.instID[0][i] != RTC_INVALID_GEOMETRY_ID)
          placements[i] = part.GetPlacement(packet.hit.instID[0][i]);
      }
    }
    for (std::size_t i = 0; i < taken; ++i) {
      RayHit& result = hits[first + i];
      result = RayHit();
      if (packet.hit.geomID[i] == RTC_INVALID_GEOMETRY_ID) continue;
      const RTCHit hit =
          rtcGetHitFromHitN(reinterpret_cast<RTCHitN*>(&packet.hit), kPacket, static_cast<unsigned>(i));
      index_->Resolve(hit, placements[i], rays[first + i].direction, static_cast<double>(packet.ray.tfar[i]),
                      placed, result);
    }
  }
}

RayHit RayCaster::Cast(const Ray& ray, Layer layer) const {
  RayHit result;
  double start = 0.0;
  RTCRayHit one = {};
  if (!Prepare(Shorten(ray, start), GetMask(layer), one)) return result;
  RTCIntersectContext context = {};
  rtcInitIntersectContext(&context);
  std::uint32_t placement = RayHit::kNone;
  for (const Part& part : index_->parts) {
    one.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(part.scene, &context, &one);
    if (one.hit.instID[0] != RTC_INVALID_GEOMETRY_ID) placement = part.GetPlacement(one.hit.instID[0]);
  }
  Index::Placed placed;
  if (placement != RayHit::kNone)
    index_->Resolve(one.hit, placement, glm::vec3(ray.direction), start + static_cast<double>(one.ray.tfar),
                    placed, result);
  return result;
}

void RayCaster::FindBlocked(const Ray* rays, std::uint8_t* blocked, std::size_t count) const {
  std::array<ShortRay, kAtOnce> some;
  double start = 0.0;
  for (std::size_t first = 0; first < count; first += kAtOnce) {
    const std::size_t taken = std::min(kAtOnce, count - first);
    for (std::size_t i = 0; i < taken; ++i)
      some[i] = Shorten(rays[first + i], start);
    FindBlocked(some.data(), blocked + first, taken);
  }
}

void RayCaster::FindBlocked(const ShortRay* rays, std::uint8_t* blocked, std::size_t count) const {
  RTCIntersectContext context = {};
  rtcInitIntersectContext(&context);
  alignas(64) RTCRay8 packet = {};
  alignas(64) int valid[kPacket];
  std::fill_n(packet.mask, kPacket, kSolidMask);
  for (std::size_t first = 0; first < count; first += kPacket) {
    const std::size_t taken = std::min(kPacket, count - first);
    Fill(rays + first, taken, packet, valid);
    for (const Part& part : index_->parts)
      rtcOccluded8(valid, part.scene, &context, &packet);
    for (std::size_t i = 0; i < taken; ++i)
      blocked[first + i] = valid[i] != 0 && packet.tfar[i] < 0.0f ? 1 : 0;
  }
}

std::vector<RayHit> RayCaster::CastThrough(const Ray& ray) const {
  double start = 0.0;
  RTCRayHit one = {};
  if (!Prepare(Shorten(ray, start), kSolidMask, one)) return {};
  ThroughContext context;
  rtcInitIntersectContext(&context);
  context.filter = CollectHit;
  std::vector<std::uint32_t> placements;
  for (const Part& part : index_->parts) {
    rtcIntersect1(part.scene, &context, &one);
    for (std::size_t i = placements.size(); i < context.hits.size(); ++i)
      placements.push_back(part.GetPlacement(context.hits[i].instID[0]));
  }
  std::vector<RayHit> hits(context.hits.size());
  Index::Placed placed;
  for (std::size_t i = 0; i < hits.size(); ++i)
    index_->Resolve(context.hits[i], placements[i], glm::vec3(ray.direction),
                    start + static_cast<double>(context.distances[i]), placed, hits[i]);
  std::sort(hits.begin(), hits.end(), [](const RayHit& a, const RayHit& b) {
    if (a.distance != b.distance) return a.distance < b.distance;
    return a.placement != b.placement ? a.placement < b.placement : a.triangle < b.triangle;
  });
  return hits;
}

}  // namespace mirel

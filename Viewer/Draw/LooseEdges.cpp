#include <Viewer/Draw/LooseEdges.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Look.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <limits>

namespace mirel {

namespace {

// In perspective, lines begin so near to the camera, compared with its target.
constexpr double kNearest = 1e-4;

constexpr float kLineMargin = 2.0f;  // pixels that a line reaches beyond its middle

const glm::vec3 kDark(0.1f);  // of wires without a colour

// The edges that no face has.
std::vector<std::uint32_t> ListLoose(const GRepMesh& mesh) {
  std::vector<std::uint32_t> segments;
  for (std::size_t i = 0; i < mesh.sides.size(); ++i) {
    if (mesh.sides[i].kind != GRepEdgeKind::kLoose) continue;
    for (std::uint32_t k = 1; k < mesh.edges[i].indexCount; ++k) {
      segments.push_back(mesh.polylines[mesh.edges[i].firstIndex + k - 1]);
      segments.push_back(mesh.polylines[mesh.edges[i].firstIndex + k]);
    }
  }
  return segments;
}

glm::vec3 GetLineColor(const DrawPalette& palette) {
  const glm::vec3& own = palette.GetColor(std::numeric_limits<std::uint32_t>::max());
  return own == BrepSceneNode::kDefaultColor ? kDark : own;
}

}  // namespace

LooseEdges::LooseEdges(const DrawScene& scene, const Camera& camera, const PictureOptions& options)
    : camera_(camera), options_(options), size_(options.width, options.height) {
  nearest_ = camera.GetProjection() == Camera::Projection::kPerspective
                 ? kNearest * glm::length(camera.GetTarget() - camera.GetEye())
                 : std::numeric_limits<double>::lowest();
  for (const DrawBatch& batch : scene.GetBatches())
    Add(batch, false);
  for (const DrawBatch& batch : scene.GetWires())
    Add(batch, true);
}

void LooseEdges::Add(const DrawBatch& batch, bool isWire) {
  const auto [known, isNew] = segments_.try_emplace(batch.grep.get());
  const GRepMesh& mesh = batch.grep->GetMesh();
  if (isNew) {
    known->second =
        isWire ? mesh.MakeSegments(options_.edges != PictureOptions::Edges::kAll) : ListLoose(mesh);
  }
  for (std::uint32_t i = 0; i < batch.placements.size() && !known->second.empty(); ++i) {
    Place place = Locate(batch, i);
    place.segments = &known->second;
    if (place.high.x >= 0.0f && place.high.y >= 0.0f && place.low.x <= static_cast<float>(size_.x) &&
        place.low.y <= static_cast<float>(size_.y))
      places_.push_back(place);
  }
}

LooseEdges::Place LooseEdges::Locate(const DrawBatch& batch, std::uint32_t number) const {
  Place place = {&batch, nullptr, number, glm::vec2(std::numeric_limits<float>::max()),
                 glm::vec2(std::numeric_limits<float>::lowest())};
  for (const glm::dvec3& corner : DrawScene::GetCorners(batch, number)) {
    const glm::dvec3 seen = camera_.Project(corner, size_);
    if (seen.z < nearest_) return {&batch, nullptr, number, glm::vec2(0.0f), glm::vec2(size_)};
    place.low = glm::min(place.low, glm::vec2(seen) - kLineMargin);
    place.high = glm::max(place.high, glm::vec2(seen) + kLineMargin);
  }
  return place;
}

// Leaves of a line in the scene what section planes leave and lies in front of the camera; false when nothing is left.
bool LooseEdges::Cut(glm::dvec3& from, glm::dvec3& to) const {
  std::vector<SectionPlane> planes = options_.sections;
  if (camera_.GetProjection() == Camera::Projection::kPerspective) {
    const glm::dvec3 normal = -camera_.GetForward();
    planes.push_back({normal, glm::dot(normal, camera_.GetEye()) - nearest_});
  }
  for (const SectionPlane& plane : planes) {
    const double a = plane.GetDistance(from), b = plane.GetDistance(to);
    if (!(a <= 0.0) && !(b <= 0.0)) return false;
    if (a > 0.0) from += (to - from) * (a / (a - b));
    if (b > 0.0) to += (from - to) * (b / (b - a));
  }
  return true;
}

void LooseEdges::ForEach(const glm::dvec2& low, const glm::dvec2& high,
                         const std::function<void(const Line& line)>& draw) const {
  const glm::vec2 first(low), last(high);
  for (const Place& place : places_) {
    if (place.low.x > last.x || place.low.y > last.y || place.high.x < first.x || place.high.y < first.y)
      continue;
    const GRepMesh& mesh = place.batch->grep->GetMesh();
    const glm::dmat4x3& placement = place.batch->placements[place.number];
    const glm::vec3 color = GetLineColor(*place.batch->palette);
    for (std::size_t i = 0; i < place.segments->size(); i += 2) {
      glm::dvec3 from = placement * glm::dvec4(mesh.GetPosition((*place.segments)[i]), 1.0);
      glm::dvec3 to = placement * glm::dvec4(mesh.GetPosition((*place.segments)[i + 1]), 1.0);
      if (Cut(from, to))
        draw({camera_.Project(from, size_), camera_.Project(to, size_), color, place.batch->ghost});
    }
  }
}

double LooseEdges::GetDepth(const Line& line, double part) const {
  const double a = line.from.z, b = line.to.z;
  return camera_.GetProjection() == Camera::Projection::kPerspective ? a * b / (b + (a - b) * part)
                                                                     : a + (b - a) * part;
}

}  // namespace mirel

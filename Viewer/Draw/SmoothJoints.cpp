#include <Viewer/Draw/SmoothJoints.h>

#include <Viewer/Draw/DrawScene.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <iterator>

namespace mirel {

namespace {

std::vector<std::pair<std::uint32_t, std::uint32_t>> ListPairs(const GRepMesh& mesh, GRepEdgeKind kind) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
  for (const GRepEdgeSides& sides : mesh.sides) {
    if (sides.kind == kind) pairs.push_back(std::minmax(sides.first, sides.second));
  }
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

}  // namespace

SmoothJoints::SmoothJoints(const DrawScene& scene) : scene_(scene) {
  for (const DrawBatch& batch : scene.GetBatches()) {
    const auto [known, isNew] = joints_.try_emplace(batch.grep.get());
    if (!isNew) continue;
    const GRepMesh& mesh = batch.grep->GetMesh();
    const Joints smooth = ListPairs(mesh, GRepEdgeKind::kSmooth),
                 sharp = ListPairs(mesh, GRepEdgeKind::kSharp);
    std::set_difference(smooth.begin(), smooth.end(), sharp.begin(), sharp.end(),
                        std::back_inserter(known->second));
  }
}

bool SmoothJoints::Contains(std::uint32_t placement, std::uint32_t face, std::uint32_t other) const {
  const Joints& joints = joints_.at(scene_.GetBatch(placement).grep.get());
  return std::binary_search(joints.begin(), joints.end(),
                            std::pair<std::uint32_t, std::uint32_t>(std::minmax(face, other)));
}

}  // namespace mirel

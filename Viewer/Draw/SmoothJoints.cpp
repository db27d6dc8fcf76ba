#include <Viewer/Draw/SmoothJoints.h>

#include <Viewer/Draw/DrawScene.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <algorithm>
#include <iterator>

namespace mirel {

namespace {

SmoothJoints::Joints ListPairs(const GRepMesh& mesh, GRepEdgeKind kind) {
  SmoothJoints::Joints pairs;
  for (const GRepEdgeSides& sides : mesh.sides) {
    if (sides.kind == kind) pairs.emplace_back(std::minmax(sides.first, sides.second));
  }
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

}  // namespace

SmoothJoints::SmoothJoints(const DrawScene& scene) : scene_(scene) {
  for (const DrawBatch& batch : scene.GetBatches()) {
    const auto [known, isNew] = joints_.try_emplace(batch.grep.get());
    if (isNew) known->second = Find(batch.grep->GetMesh());
  }
}

SmoothJoints::Joints SmoothJoints::Find(const GRepMesh& mesh) {
  const Joints smooth = ListPairs(mesh, GRepEdgeKind::kSmooth), sharp = ListPairs(mesh, GRepEdgeKind::kSharp);
  Joints joints;
  std::set_difference(smooth.begin(), smooth.end(), sharp.begin(), sharp.end(), std::back_inserter(joints));
  return joints;
}

bool SmoothJoints::Contains(std::uint32_t placement, std::uint32_t face, std::uint32_t other) const {
  const Joints& joints = joints_.at(scene_.GetBatch(placement).grep.get());
  return std::binary_search(joints.begin(), joints.end(),
                            std::pair<std::uint32_t, std::uint32_t>(std::minmax(face, other)));
}

}  // namespace mirel

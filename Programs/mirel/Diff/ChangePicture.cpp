#include <Programs/mirel/Diff/ChangePicture.h>

#include <Programs/mirel/Diff/ChangeLook.h>
#include <Programs/mirel/Diff/Changes.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <cstdint>
#include <vector>

namespace mirel {

namespace {

// How each node is to look: as the change says that is told of it, or of the group around it.
std::vector<ChangeLook> FindLooks(const Changes& changes, BodyClasses::Side side) {
  const std::vector<ComparedNode>& nodes = changes.GetModel(side).GetNodes();
  std::vector<ChangeLook> looks(nodes.size(), ChangeLook::kRest);
  for (const Change& change : changes.GetAll()) {
    for (const Change::Place& place : change.places) {
      const std::uint32_t node = side == BodyClasses::kOld ? place.older : place.newer;
      if (node == kNothing) {
        continue;
      }
      const ChangeLook look = FindChangeLook(change.kind, nodes[node].body != nullptr);
      looks[node] = std::max(looks[node], look);
    }
  }
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    looks[i] = std::max(looks[i], looks[nodes[i].parent]);
  }
  return looks;
}

void AddParts(const Changes& changes, BodyClasses::Side side, GroupSceneNode& root) {
  constexpr float kGlass = 0.2f;
  const ComparedModel& model = changes.GetModel(side);
  const std::vector<ChangeLook> looks = FindLooks(changes, side);
  for (const std::uint32_t part : model.GetParts()) {
    // Of the old version, only what the new one has not got.
    if (side == BodyClasses::kOld && looks[part] != ChangeLook::kGone) {
      continue;
    }
    const ComparedNode& from = model.GetNode(part);
    const auto node = std::make_shared<BrepSceneNode>(from.body->GetGRep());
    node->SetTransform(from.placement);
    node->SetColor(GetChangeColor(looks[part]));
    node->SetOpacity(looks[part] == ChangeLook::kRest ? kGlass : 1.0f);
    root.AddNode(node);
  }
}

}  // namespace

std::shared_ptr<SceneNode> ChangePicture::MakeNodes(const Changes& changes) {
  auto root = std::make_shared<GroupSceneNode>();
  AddParts(changes, BodyClasses::kNew, *root);
  AddParts(changes, BodyClasses::kOld, *root);
  return root;
}

}  // namespace mirel

#include <Programs/mirel/Diff/ChangePicture.h>

#include <Programs/mirel/Diff/Changes.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <cstdint>
#include <vector>

namespace mirel {

namespace {

enum class Look : std::uint8_t { kRest, kChanged, kAdded, kGone };

// Red, green and yellow that those who confuse red and green tell apart by their brightness.
glm::vec3 GetColor(Look look) {
  switch (look) {
  case Look::kGone:
    return {0.80f, 0.10f, 0.10f};
  case Look::kAdded:
    return {0.15f, 0.70f, 0.25f};
  case Look::kChanged:
    return {1.00f, 0.82f, 0.10f};
  case Look::kRest:
    break;
  }
  return BrepSceneNode::kDefaultColor;
}

// How each node is to look: as the change says that is told of it, or of the group around it.
std::vector<Look> FindLooks(const Changes& changes, BodyClasses::Side side) {
  const std::vector<ComparedNode>& nodes = changes.GetModel(side).GetNodes();
  std::vector<Look> looks(nodes.size(), Look::kRest);
  for (const Change& change : changes.GetAll()) {
    for (const Change::Place& place : change.places) {
      const std::uint32_t node = side == BodyClasses::kOld ? place.older : place.newer;
      if (node == kNothing) {
        continue;
      }
      const Look look = change.kind == Change::Kind::kAdded     ? Look::kAdded
                        : change.kind == Change::Kind::kRemoved ? Look::kGone
                                                                : Look::kChanged;
      // A group that has only another name shows it nowhere.
      if (change.kind != Change::Kind::kRenamed || nodes[node].body != nullptr) {
        looks[node] = std::max(looks[node], look);
      }
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
  const std::vector<Look> looks = FindLooks(changes, side);
  for (const std::uint32_t part : model.GetParts()) {
    // Of the old version, only what the new one has not got.
    if (side == BodyClasses::kOld && looks[part] != Look::kGone) {
      continue;
    }
    const ComparedNode& from = model.GetNode(part);
    const auto node = std::make_shared<BrepSceneNode>(from.body->GetGRep());
    node->SetTransform(from.placement);
    node->SetColor(GetColor(looks[part]));
    node->SetOpacity(looks[part] == Look::kRest ? kGlass : 1.0f);
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

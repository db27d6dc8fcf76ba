#include <Programs/mirel/Diff/ComparedModel.h>

#include <Programs/mirel/Diff/KeyHash.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <unordered_map>

namespace mirel {

ComparedModel::ComparedModel(std::shared_ptr<const SceneNode> root, const BodyStore& store)
    : root_(std::move(root)), store_(store) {
  Gather();
  MakeBoxes();
}

void ComparedModel::Gather() {
  struct Open {
    const SceneNode* node;
    std::uint32_t parent;
    std::uint32_t position;
  };
  std::unordered_map<const GRepShape*, std::uint32_t> numbers;
  std::vector<Open> open = {{root_.get(), kNothing, 0}};
  while (!open.empty()) {
    const Open next = open.back();
    open.pop_back();
    ComparedNode node;
    node.node = next.node;
    node.parent = next.parent;
    node.position = next.position;
    const ComparedNode* const parent = next.parent == kNothing ? nullptr : &nodes_[next.parent];
    node.placement = (parent != nullptr ? parent->placement : glm::dmat4(1.0)) * next.node->GetTransform();
    const SceneNode* inner = next.node;
    while (parent != nullptr && inner->GetNodes().size() == 1 &&
           inner->GetNodes().front()->GetName() == inner->GetName()) {
      inner = inner->GetNodes().front().get();
      node.placement *= inner->GetTransform();
      ++node.foldedLevels;
    }
    if (parent != nullptr) {
      node.name = KeyHash().Add(inner->GetName()).Get();
      node.path = node.name == parent->name ? parent->path : KeyHash().Add(parent->path).Add(node.name).Get();
    }
    const auto number = static_cast<std::uint32_t>(nodes_.size());
    if (inner->GetKind() == SceneNodeKind::kBrep) {
      node.body = static_cast<const BrepSceneNode*>(inner);
      const std::shared_ptr<GRepShape>& graphics = node.body->GetGRep();
      const auto [place, isNew] =
          numbers.try_emplace(graphics.get(), static_cast<std::uint32_t>(bodies_.size()));
      if (isNew) {
        bodies_.push_back({node.body->GetBodyId(), graphics});
      }
      node.bodyNumber = place->second;
      parts_.push_back(number);
    }
    const auto& children = inner->GetNodes();
    node.childCount = static_cast<std::uint32_t>(children.size());
    for (std::uint32_t child = node.childCount; child-- > 0;) {
      open.push_back({children[child].get(), number, child});
    }
    nodes_.push_back(node);
  }
}

void ComparedModel::MakeBoxes() {
  boxes_.resize(nodes_.size());
  for (std::size_t i = nodes_.size(); i-- > 0;) {
    const ComparedNode& node = nodes_[i];
    if (node.body != nullptr && node.body->GetGRep()) {
      boxes_[i] = node.body->GetGRep()->GetBoundingBox();
      boxes_[i].Transform(node.placement);
    }
    if (node.parent != kNothing) {
      boxes_[node.parent].Merge(boxes_[i]);
    }
  }
}

glm::dvec3 ComparedModel::GetMiddle(std::uint32_t node) const {
  const AABoxT<double>& box = boxes_[node];
  return box.IsFinite() ? 0.5 * (box.GetMin() + box.GetMax()) : glm::dvec3(nodes_[node].placement[3]);
}

std::vector<std::string> ComparedModel::GetPath(std::uint32_t node) const {
  std::vector<std::string> names;
  for (; node != kNothing && node != 0; node = nodes_[node].parent) {
    if (names.empty() || names.back() != nodes_[node].node->GetName()) {
      names.push_back(nodes_[node].node->GetName());
    }
  }
  std::reverse(names.begin(), names.end());
  return names;
}

std::vector<std::uint64_t> ComparedModel::GetIds(std::uint32_t node) const {
  std::vector<std::uint64_t> ids;
  for (const SceneNode* step : nodes_[node].node->GetPath()) {
    if (step != root_.get()) {
      ids.push_back(step->GetUserId());
    }
  }
  return ids;
}

std::vector<std::uint32_t> ComparedModel::GetPositions(std::uint32_t node) const {
  std::vector<std::uint32_t> positions;
  if (node != 0) {
    positions.push_back(nodes_[node].position);
    node = nodes_[node].parent;
  }
  for (; node != kNothing && node != 0; node = nodes_[node].parent) {
    positions.insert(positions.end(), nodes_[node].foldedLevels, 0);  // each is the only one where it is
    positions.push_back(nodes_[node].position);
  }
  std::reverse(positions.begin(), positions.end());
  return positions;
}

}  // namespace mirel

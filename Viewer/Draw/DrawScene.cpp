#include <Viewer/Draw/DrawScene.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace mirel {

namespace {

glm::dmat4x3 Multiply(const glm::dmat4x3& outer, const glm::dmat4& inner) {
  glm::dmat4x3 product;
  for (int column = 0; column < 4; ++column) {
    const glm::dvec4 own(glm::dvec3(inner[column]), column == 3 ? 1.0 : 0.0);
    product[column] = outer * own;
  }
  return product;
}

// Whether three columns span a space of single precision: none is 0 beside the others, nor nearly in their plane.
bool IsInvertible(const glm::dmat4x3& placement) {
  const glm::dvec3 &x = placement[0], &y = placement[1], &z = placement[2];
  const double lengths = glm::length(x) * glm::length(y) * glm::length(z);
  const double volume = std::abs(glm::dot(glm::cross(x, y), z));
  return std::isfinite(lengths) && lengths > 1e-30 && volume > 1e-6 * lengths;
}

AABoxT<double> Place(AABoxT<double> box, const glm::dmat4x3& placement) {
  box.Transform(glm::dmat4(placement));
  return box;
}

bool IsInReach(const AABoxT<double>& box) {
  for (int axis = 0; axis < 3; ++axis) {
    if (!(box.GetMin()[axis] >= -DrawScene::kMaxCoordinate &&
          box.GetMax()[axis] <= DrawScene::kMaxCoordinate))
      return false;
  }
  return true;
}

}  // namespace

/// Walks the tree and sorts its bodies into batches.
class DrawScene::Gathering {
 public:
  Gathering(DrawScene& scene, const NodeVisibility& visibility, const BodyColor& color = nullptr)
      : scene_(scene), visibility_(visibility), color_(color) {}

  /// To be followed by `Finish` after the last root.
  void Walk(const SceneNode& root) {
    Visit(root, {DrawNode::kNone, glm::dmat4x3(1.0), {}});
    // Levels come from a file, so what waits is kept in a list, not on the stack.
    while (!waiting_.empty()) {
      const Waiting next = waiting_.back();
      waiting_.pop_back();
      for (const std::shared_ptr<SceneNode>& child : next.group->GetNodes())
        Visit(*child, next.place);
    }
  }

  void Finish() {
    Number();
    if (scene_.leftOut_ > 0)
      Logger::Instance().Message(1, "%u bodies cannot be drawn where they are placed and are left out",
                                 scene_.leftOut_);
  }

 private:
  // What a node's parent hands down.
  struct Place {
    std::uint32_t parent;
    glm::dmat4x3 placement;
    NodeVisibility::Inherited inherited;
  };
  struct Waiting {
    const GroupSceneNode* group;
    Place place;
  };

  void Visit(const SceneNode& node, const Place& above) {
    const Place own = {static_cast<std::uint32_t>(scene_.nodes_.size()),
                       Multiply(above.placement, node.GetTransform()),
                       visibility_.Inherit(above.inherited, node)};
    if (own.inherited.hidden) return;
    scene_.nodes_.push_back({&node, above.parent});
    if (node.GetKind() == SceneNodeKind::kBrep)
      Add(static_cast<const BrepSceneNode&>(node), own);
    else if (node.GetKind() == SceneNodeKind::kGroup)
      waiting_.push_back({&static_cast<const GroupSceneNode&>(node), own});
  }

  void Add(const BrepSceneNode& node, const Place& place) {
    const NodeVisibility::Look look = visibility_.GetLook(place.inherited);
    const std::shared_ptr<GRepShape>& grep = node.GetGRep();
    if (look == NodeVisibility::Look::kHidden || !grep) return;
    const bool isWire = grep->GetMesh().triangles.empty();
    if (isWire && grep->GetMesh().polylines.empty()) return;
    const AABoxT<double>& own = grep->GetBoundingBox();
    const AABoxT<double> box = own.IsFinite() ? mirel::Place(own, place.placement) : AABoxT<double>();
    if (!box.IsFinite() || !IsInReach(box) || !IsInvertible(place.placement) ||
        scene_.placementCount_ + wireCount_ == kMaxPlacements) {
      ++scene_.leftOut_;
      return;
    }
    DrawBatch& batch =
        FindBatch(node, look == NodeVisibility::Look::kGhost, isWire ? scene_.wires_ : scene_.batches_);
    batch.placements.push_back(place.placement);
    batch.nodes.push_back(place.parent);
    scene_.box_.Merge(box);
    ++(isWire ? wireCount_ : scene_.placementCount_);
  }

  // Whatever has the same of all these is drawn together.
  using Likeness = std::tuple<const GRepShape*, const FacePalette*, float, float, float, bool, bool>;

  DrawBatch& FindBatch(const BrepSceneNode& node, bool ghost, std::vector<DrawBatch>& batches) {
    const glm::vec3 color = color_ ? color_(node) : DrawPalette::GetBodyColor(node);
    const FacePalette* const faces = color_ ? nullptr : node.GetPalette().get();
    const Likeness likeness(node.GetGRep().get(), faces, color.r, color.g, color.b,
                            !color_ && node.GetColor().r < 0.0f, ghost);
    const auto [known, isNew] = known_.try_emplace(likeness, batches.size());
    if (!isNew) return batches[known->second];
    batches.push_back({node.GetGRep(),
                       color_ ? std::make_shared<DrawPalette>(color) : std::make_shared<DrawPalette>(node),
                       ghost,
                       0,
                       PlacementList(scene_.turns_),
                       {}});
    return batches.back();
  }

  // And gives back what the lists had grown too large.
  void Number() {
    scene_.nodes_.shrink_to_fit();
    scene_.turns_->Finish();
    std::uint32_t first = 0;
    for (DrawBatch& batch : scene_.batches_) {
      batch.first = first;
      batch.placements.shrink_to_fit();
      batch.nodes.shrink_to_fit();
      first += static_cast<std::uint32_t>(batch.placements.size());
    }
  }

  DrawScene& scene_;
  const NodeVisibility& visibility_;
  const BodyColor color_;
  std::vector<Waiting> waiting_;
  std::map<Likeness, std::size_t> known_;  // positions in batches or wires
  std::uint32_t wireCount_ = 0;
};

DrawScene::DrawScene(const SceneNode& root, const NodeVisibility& visibility) {
  Gathering gathering(*this, visibility);
  gathering.Walk(root);
  gathering.Finish();
}

DrawScene::DrawScene(const std::vector<std::shared_ptr<SceneNode>>& roots, const NodeVisibility& visibility,
                     const BodyColor& color) {
  Gathering gathering(*this, visibility, color);
  for (const std::shared_ptr<SceneNode>& root : roots)
    gathering.Walk(*root);
  gathering.Finish();
}

DrawScene::~DrawScene() = default;

std::shared_ptr<const DrawScene> DrawScene::Move(const std::vector<glm::vec3>& offsets, double factor) const {
  const std::shared_ptr<DrawScene> moved(new DrawScene());
  moved->turns_ = turns_;
  moved->batches_ = batches_;
  moved->wires_ = wires_;
  moved->nodes_ = nodes_;
  moved->placementCount_ = placementCount_;
  moved->leftOut_ = leftOut_;
  for (DrawBatch& batch : moved->batches_) {
    for (std::size_t i = 0; i < batch.placements.size(); ++i) {
      const glm::dvec3 before = batch.placements.GetOrigin(i);
      if (batch.first + i < offsets.size())
        batch.placements.SetOrigin(i, before + factor * glm::dvec3(offsets[batch.first + i]));
      AABoxT<double> box = Place(batch.grep->GetBoundingBox(), batch.placements[i]);
      if (!box.IsFinite() || !IsInReach(box)) {
        batch.placements.SetOrigin(i, before);
        box = Place(batch.grep->GetBoundingBox(), batch.placements[i]);
      }
      moved->box_.Merge(box);
    }
  }
  for (const DrawBatch& batch : wires_) {
    for (const glm::dmat4x3 placement : batch.placements)
      moved->box_.Merge(Place(batch.grep->GetBoundingBox(), placement));
  }
  return moved;
}

const DrawBatch& DrawScene::GetBatch(std::uint32_t placement) const {
  const auto behind =
      std::upper_bound(batches_.begin(), batches_.end(), placement,
                       [](std::uint32_t number, const DrawBatch& batch) { return number < batch.first; });
  return *std::prev(behind);
}

glm::dmat4x3 DrawScene::GetPlacement(std::uint32_t placement) const {
  const DrawBatch& batch = GetBatch(placement);
  return batch.placements[placement - batch.first];
}

std::vector<const SceneNode*> DrawScene::GetPath(std::uint32_t placement) const {
  const DrawBatch& batch = GetBatch(placement);
  std::vector<const SceneNode*> path;
  for (std::uint32_t at = batch.nodes[placement - batch.first]; at != DrawNode::kNone; at = nodes_[at].parent)
    path.push_back(nodes_[at].node);
  std::reverse(path.begin(), path.end());
  return path;
}

std::array<glm::dvec3, 8> DrawScene::GetCorners(std::uint32_t placement) const {
  const DrawBatch& batch = GetBatch(placement);
  return GetCorners(batch, placement - batch.first);
}

std::array<glm::dvec3, 8> DrawScene::GetCorners(const DrawBatch& batch, std::size_t number) {
  std::array<glm::dvec3, 8> corners = GetBoxCorners(batch.grep->GetBoundingBox());
  const glm::dmat4x3 placement = batch.placements[number];
  for (glm::dvec3& corner : corners)
    corner = placement * glm::dvec4(corner, 1.0);
  return corners;
}

AABoxT<double> DrawScene::GetBox(std::uint32_t placement) const {
  const DrawBatch& batch = GetBatch(placement);
  return Place(batch.grep->GetBoundingBox(), batch.placements[placement - batch.first]);
}

}  // namespace mirel

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <Viewer/Kernel/Host/Core/SharedPool.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

namespace mirel {

namespace {

using Color = FacePalette::value_type;
static_assert(sizeof(Color) == sizeof(unsigned int) + sizeof(glm::vec3), "padding would be compared");

std::string_view BytesOf(const FacePalette& palette) {
  return {reinterpret_cast<const char*>(palette.begin()), palette.size() * sizeof(Color)};
}

std::shared_ptr<const FacePalette> Share(FacePalette palette) {
  // Never destroyed: nodes may live longer than static objects.
  static auto* const pool = new SharedPool<FacePalette, BytesOf>;
  return pool->Share(BytesOf(palette), [&palette] { return std::move(palette); });
}

}  // namespace

BrepSceneNode::BrepSceneNode(const std::shared_ptr<GRepShape>& grep) : grep_(grep) {}

BrepSceneNode::~BrepSceneNode() = default;

ObjectId BrepSceneNode::GetBodyId() const {
  return grep_ ? grep_->GetBodyId() : ObjectId();
}

const glm::vec3& BrepSceneNode::GetDrawnColor(unsigned int face) const {
  const FacePalette& palette = GetFaceColors();
  const FacePalette::const_iterator own = palette.find(face);
  if (own != palette.end()) return own->second;
  return color_.r < 0.0f ? kDefaultColor : color_;
}

void BrepSceneNode::SetFaceColor(unsigned int face, const glm::vec3& color) {
  if (!newColors_) {
    const FacePalette& old = *GetPalette();
    newColors_ = std::make_unique<std::vector<Color>>(old.begin(), old.end());
  }
  newColors_->emplace_back(face, color);
  NotifyOf(SceneChange::kColor);
}

const std::shared_ptr<const FacePalette>& BrepSceneNode::GetPalette() const {
  static const auto* const none = new std::shared_ptr<const FacePalette>(std::make_shared<FacePalette>());
  TakeNewColors();
  return palette_ ? palette_ : *none;
}

void BrepSceneNode::Settle() {
  TakeNewColors();
}

void BrepSceneNode::TakeNewColors() const {
  if (!newColors_) return;
  palette_ = Share(FacePalette(std::move(*newColors_)));
  newColors_.reset();
}

}  // namespace mirel

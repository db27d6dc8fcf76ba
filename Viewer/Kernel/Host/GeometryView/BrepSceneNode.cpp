#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <Viewer/Kernel/Host/Core/RecentValues.h>
#include <Viewer/Kernel/Host/Core/SharedPool.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <cstdint>
#include <cstring>
#include <utility>

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

bool IsSame(const Color& given, unsigned int face, const glm::vec3& color) {
  return given.first == face && std::memcmp(&given.second, &color, sizeof color) == 0;
}

/// The last palette of each of the latest graphics. The nodes of one model are made by one thread, and no other is in its
/// way.
std::weak_ptr<const FacePalette>& LatestPalette(const GRepShape* grep) {
  static thread_local RecentValues<const FacePalette> recent;
  return recent.At(reinterpret_cast<std::uintptr_t>(grep) / alignof(GRepShape));
}

}  // namespace

/// Colours that are set one by one. The instances of a type get the same, in the same order: as long as they are those of the
/// last node with these graphics, nothing is done but to compare them.
class BrepSceneNode::NewColors {
 public:
  NewColors(const GRepShape* grep, const FacePalette& old) : grep_(grep), colors_(old.begin(), old.end()) {
    if (old.empty()) expected_ = LatestPalette(grep).lock();
  }

  void Add(unsigned int face, const glm::vec3& color) {
    if (expected_ && matched_ < expected_->CountGiven() &&
        IsSame(expected_->GetGiven(matched_), face, color)) {
      ++matched_;
      return;
    }
    StopExpecting();
    colors_.emplace_back(face, color);
  }

  std::shared_ptr<const FacePalette> MakePalette() {
    if (expected_ && matched_ == expected_->CountGiven() && matched_ > 0) return expected_;
    StopExpecting();
    std::shared_ptr<const FacePalette> made = Share(FacePalette(std::move(colors_)));
    LatestPalette(grep_) = made;
    return made;
  }

 private:
  void StopExpecting() {
    for (std::size_t i = 0; i < matched_; ++i)
      colors_.push_back(expected_->GetGiven(i));
    matched_ = 0;
    expected_.reset();
  }

  const GRepShape* const grep_;
  std::vector<Color> colors_;
  std::shared_ptr<const FacePalette> expected_;
  std::size_t matched_ = 0;
};

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
  if (!newColors_) newColors_ = std::make_unique<NewColors>(grep_.get(), GetFaceColors());
  newColors_->Add(face, color);
  NotifyOf(SceneChange::kColor);
}

const std::shared_ptr<const FacePalette>& BrepSceneNode::GetPalette() const {
  static const auto* const none = new std::shared_ptr<const FacePalette>(std::make_shared<FacePalette>());
  TakeNewColors();
  return palette_ ? palette_ : *none;
}

void BrepSceneNode::Settle() {
  SceneNode::Settle();
  TakeNewColors();
}

void BrepSceneNode::TakeNewColors() const {
  if (!newColors_) return;
  palette_ = newColors_->MakePalette();
  newColors_.reset();
}

}  // namespace mirel

#include <Viewer/Kernel/Model/ItemWalk.h>

#include <Viewer/Kernel/Model/LiteModelItem.h>

#include <algorithm>
#include <atomic>
#include <utility>

namespace mirel {

namespace {

thread_local std::uint64_t g_modelWalk = 0;  // 0: none

}  // namespace

bool ItemWalk::Enter(const LiteModelItem& item) {
  // The top-level item is level 1, and what lies inside `item` would be one level deeper than it.
  if (depth_ + 2 > kMaxNesting) {
    MIREL_FAILURE("%s %s \"%s\" is nested deeper than %d levels: its content is left out",
                  item.GetType().c_str(), item.GetId().toString().c_str(), item.GetName().c_str(),
                  kMaxNesting);
    NoteLeftOut();
    return false;
  }
  ++depth_;
  deepest_ = std::max(deepest_, depth_);
  return true;
}

ItemWalk::Model::Model() : outer_(g_modelWalk) {
  static std::atomic<std::uint64_t> counter{0};
  g_modelWalk = ++counter;
}

ItemWalk::Model::~Model() {
  g_modelWalk = outer_;
}

bool ItemWalk::CountItem(const LiteModelItem& item, std::size_t faceColors) {
  if (depth_ == 0 && (g_modelWalk == 0 || walk_ != g_modelWalk)) {
    walk_ = g_modelWalk;
    items_ = 0;
  }
  if (items_ > kMaxWalkItems) {
    NoteLeftOut();
    return false;
  }
  items_ += CountAsWalkItems(item.GetName().size(), faceColors);
  if (items_ <= kMaxWalkItems) return true;
  NoteLeftOut();
  MIREL_FAILURE("The model unfolds into more than %u items: the rest is left out", kMaxWalkItems);
  return false;
}

ItemWalk::Mark ItemWalk::SetMark() {
  return {items_, leftOut_, std::exchange(deepest_, depth_)};
}

std::optional<ItemWalk::Content> ItemWalk::GetContent(const Mark& mark) {
  const Content content = {items_ - mark.items, deepest_ - depth_};
  deepest_ = std::max(deepest_, mark.deepest);
  return leftOut_ == mark.leftOut ? std::optional<Content>(content) : std::nullopt;
}

bool ItemWalk::Repeat(const Content& content) {
  const bool isTooDeep = content.levels > 0 && depth_ + content.levels + 1 > kMaxNesting;
  if (isTooDeep || items_ + content.items > kMaxWalkItems) return false;
  items_ += content.items;
  deepest_ = std::max(deepest_, depth_ + content.levels);
  return true;
}

ItemWalk::Level::Level(ItemWalk& walk, const LiteModelItem& group, std::size_t childCount)
    : walk_(walk), isType_(false), entered_(childCount > 0 && walk.Enter(group)) {}

ItemWalk::Level::Level(ItemWalk& walk, const LiteModelItem& instance, const LiteModelItem& type)
    : walk_(walk), isType_(true) {
  if (std::find(walk.types_.begin(), walk.types_.end(), &type) != walk.types_.end()) {
    MIREL_FAILURE("Type %s \"%s\" contains itself: instance %s of it is left out",
                  type.GetId().toString().c_str(), type.GetName().c_str(),
                  instance.GetId().toString().c_str());
    walk.NoteLeftOut();
    return;
  }
  entered_ = walk.Enter(instance);
  if (entered_) walk.types_.push_back(&type);
}

ItemWalk::Level::~Level() {
  if (!entered_) return;
  --walk_.depth_;
  if (isType_) walk_.types_.pop_back();
}

void NoteMissing(const LiteModelItem& item, const char* what, const ObjectId& id) {
  Logger::Instance().Message(1, "%s %s \"%s\" has no %s: the model holds none with id %s",
                             item.GetType().c_str(), item.GetId().toString().c_str(), item.GetName().c_str(),
                             what, id.toString().c_str());
}

}  // namespace mirel

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <Viewer/Kernel/Host/Core/SharedPool.h>

namespace mirel {

namespace {

std::string_view BytesOf(const std::string& name) {
  return name;
}

std::shared_ptr<const std::string> Share(const std::string& name) {
  // Never destroyed: nodes may live longer than static objects.
  static auto* const pool = new SharedPool<std::string, BytesOf>;
  return pool->Share(name, [&name] { return name; });
}

}  // namespace

SceneNode::SceneNode() = default;

SceneNode::~SceneNode() = default;

void SceneNode::SetName(const std::string& name) {
  static const std::size_t kShort = std::string().capacity();
  if (name.size() <= kShort) {
    name_ = name;
  } else {
    name_ = Share(name);
  }
}

const std::string& SceneNode::GetName() const {
  const SharedName* const shared = std::get_if<SharedName>(&name_);
  return shared ? **shared : *std::get_if<std::string>(&name_);
}

}  // namespace mirel

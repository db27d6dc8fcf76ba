#include <Viewer/Kernel/Scene/TypeNodes.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

namespace mirel {

bool TypeNodes::Repeat(const LiteModelItem& type, GroupSceneNode& instance, ItemWalk& walk) const {
  const auto found = kept_.find(&type);
  if (found == kept_.end() || !walk.Repeat(found->second.content)) return false;
  instance.AddNode(found->second.node);
  return true;
}

void TypeNodes::Keep(const LiteModelItem& type, const GroupSceneNode& instance,
                     const std::optional<ItemWalk::Content>& content) {
  if (content && instance.GetNodes().size() == 1)
    kept_.try_emplace(&type, Kept{instance.GetNodes().front(), *content});
}

}  // namespace mirel

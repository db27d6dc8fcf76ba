#pragma once

#include <Viewer/Kernel/Model/ItemWalk.h>

#include <memory>
#include <optional>
#include <unordered_map>

namespace mirel {

class GroupSceneNode;
class LiteModelItem;
class SceneNode;

/// The nodes that one walk has made of types, for instances that share them. Only complete ones are kept: what is left out
/// of an instance, and what is said about that, depends on where it stands.
class TypeNodes {
 public:
  /// Puts the nodes of a type under that of an instance, and counts them as walked through. False, and nothing happens,
  /// when there are none, or when they would not all have been made here.
  bool Repeat(const LiteModelItem& type, GroupSceneNode& instance, ItemWalk& walk) const;

  /// Keeps what was made under the node of an instance; `content` is what the walk has found there, nothing when something
  /// was left out.
  void Keep(const LiteModelItem& type, const GroupSceneNode& instance,
            const std::optional<ItemWalk::Content>& content);

 private:
  struct Kept {
    std::shared_ptr<SceneNode> node;
    ItemWalk::Content content;
  };
  std::unordered_map<const LiteModelItem*, Kept> kept_;
};

}  // namespace mirel

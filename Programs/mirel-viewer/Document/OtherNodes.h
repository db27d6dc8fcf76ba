#pragma once

#include <memory>
#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;

/// The largest subtrees below `roots`, these included, that hold none of some nodes, nor lie in one of them.
std::unordered_set<const SceneNode*> FindOthers(const std::vector<std::shared_ptr<SceneNode>>& roots,
                                                const std::unordered_set<const SceneNode*>& nodes);

}  // namespace mirel

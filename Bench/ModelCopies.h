#pragma once

#include <cstddef>
#include <memory>

namespace mirel {
class GroupSceneNode;
class SceneNode;
}  // namespace mirel

namespace mirel::bench {

/// A square of copies of a model, which share its nodes, with `bodies` placed bodies at least. Throws
/// `std::runtime_error` when nothing is drawn of the model.
std::shared_ptr<GroupSceneNode> CopyModel(const std::shared_ptr<SceneNode>& model, std::size_t bodies);

}  // namespace mirel::bench

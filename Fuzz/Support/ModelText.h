#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <glm/mat4x4.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mirel {
class LiteModel;
class SceneNode;
}  // namespace mirel

namespace mirel::fuzz {

/// A model's items in order and its types by id, with everything that an index keeps of them, numbers to the last bit.
std::string DescribeItems(const LiteModel& model);

/// A body where it is drawn.
struct Leaf {
  ObjectId id;
  glm::dmat4 place{1.0};
  double scale = 0.0;  ///< what a rounding error in one of the matrices can grow to
};

/// All bodies of a model, instances unfolded but for types inside themselves. None when a walk visits so many items or
/// more, or goes deeper: drawing such a model takes too long.
std::optional<std::vector<Leaf>> CollectLeaves(const LiteModel& model, std::size_t maxItems,
                                               std::size_t maxDepth);

/// A line for each node below this one: kind, name, placement and colours.
std::string DescribeNodes(const SceneNode& node);

}  // namespace mirel::fuzz

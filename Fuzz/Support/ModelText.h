#pragma once

#include <cstddef>
#include <string>

namespace mirel {
class LiteModel;
class SceneNode;
}  // namespace mirel

namespace mirel::fuzz {

/// A model's items in order and its types by id, with everything that an index keeps of them, numbers to the last bit.
std::string DescribeItems(const LiteModel& model);

/// How many items a walk visits, instances unfolded but for types inside themselves: up to a limit, which stands as well
/// for a model with items at a greater depth than the one given.
std::size_t CountUnfolded(const LiteModel& model, std::size_t limit, std::size_t maxDepth);

/// A line for each node below this one: kind, name, placement and colours.
std::string DescribeNodes(const SceneNode& node);

}  // namespace mirel::fuzz

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

/// How many items a walk visits, instances unfolded, up to a limit. Instead of the number, the limit for items nested so
/// deep that some walks would leave them out.
std::size_t CountUnfolded(const LiteModel& model, std::size_t limit);

/// A line for each node below this one: kind, name, placement and colours.
std::string DescribeNodes(const SceneNode& node);

}  // namespace mirel::fuzz

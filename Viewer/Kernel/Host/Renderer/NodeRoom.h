#pragma once

namespace mirel {

/// Whether the memory budget has room for the node that is to be added to a scene. When it has not, this is logged
/// (level 3), once until the memory is free again. Thread safe.
bool HasRoomForNode();

}  // namespace mirel

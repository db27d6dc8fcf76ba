#pragma once

#include <Viewer/Kernel/Host/View/EnumUpdateFlags.h>

#include <cstdint>
#include <memory>

namespace mirel {

class GroupSceneNode;
class LiteModel;

/// What instances get of what is in their type.
enum class InstanceNodes : std::uint8_t {
  kOwn,    ///< nodes of their own
  kShared  ///< the nodes of the first instance, where they would be the same
};

/// Ends a load, from a folder or from memory: ties each shape to its GRep and builds the nodes of the model's items under
/// a new root node without a name.
std::shared_ptr<GroupSceneNode> BuildScene(LiteModel& model, InstanceNodes nodes = InstanceNodes::kOwn);

/// What a view is asked for after nodes were added to its scene.
constexpr EnumUpdateFlags kRedraw = static_cast<EnumUpdateFlags>(3);

}  // namespace mirel

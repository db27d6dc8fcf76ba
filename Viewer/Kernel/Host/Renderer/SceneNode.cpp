#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

namespace mirel {

SceneNode::SceneNode() = default;

SceneNode::~SceneNode() = default;

}  // namespace mirel

#include <Viewer/Kernel/Host/Renderer/GeneralSceneNode.h>

namespace mirel {

GeneralSceneNode::GeneralSceneNode() = default;

GeneralSceneNode::~GeneralSceneNode() = default;

}  // namespace mirel

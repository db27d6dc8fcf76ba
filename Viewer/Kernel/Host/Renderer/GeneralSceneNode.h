#pragma once

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

namespace mirel {

/// A node that draws something, as opposed to one that only groups others.
class MIREL_HOST_API GeneralSceneNode : public SceneNode {
 public:
  GeneralSceneNode();
  ~GeneralSceneNode() override;
};

}  // namespace mirel

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

namespace mirel {

BrepSceneNode::BrepSceneNode(const std::shared_ptr<GRepShape>& grep) : grep_(grep) {}

BrepSceneNode::~BrepSceneNode() = default;

void BrepSceneNode::SetFaceColor(unsigned int face, const glm::vec3& color) {
  if (!faceColors_) faceColors_ = std::make_unique<FaceColorMap>();
  (*faceColors_)[face] = color;
}

const BrepSceneNode::FaceColorMap& BrepSceneNode::GetFaceColors() const {
  static const FaceColorMap kNone;
  return faceColors_ ? *faceColors_ : kNone;
}

}  // namespace mirel

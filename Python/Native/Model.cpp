#include <Python/Native/Model.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

namespace mirel::python {

const std::shared_ptr<const NodeList>& Model::GetShapes() const {
  std::call_once(gathered_, [this] {
    auto shapes = std::make_shared<NodeList>();
    VisitNodes(*root_, [&](const SceneNode& node) {
      if (node.GetKind() == SceneNodeKind::kBrep) shapes->push_back(&node);
    });
    shapes_ = std::move(shapes);
  });
  return shapes_;
}

const BrepSceneNode* Part::GetShape() const {
  return IsShape() ? static_cast<const BrepSceneNode*>(node) : nullptr;
}

}  // namespace mirel::python

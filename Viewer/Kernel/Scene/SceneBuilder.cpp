#include <Viewer/Kernel/Scene/SceneBuilder.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Scene/LiteVisualVisitor.h>
#include <Viewer/Kernel/Scene/TypeNodes.h>

namespace mirel {

std::shared_ptr<GroupSceneNode> BuildScene(LiteModel& model, InstanceNodes nodes) {
  model.ApplyShape();
  for (const auto& [id, grep] : model.GetGRepShapes())
    if (grep) grep->SetBodyId(id);
  auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model, nullptr, root);
  if (nodes == InstanceNodes::kShared) visitor.types_ = std::make_shared<TypeNodes>();
  model.Apply(&visitor);
  return root;
}

}  // namespace mirel

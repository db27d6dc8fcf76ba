#include <Bench/GeneratedModel.h>
#include <Bench/Meter.h>
#include <Bench/SceneCount.h>
#include <Bench/Task.h>

#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Model/LiteModel.h>

#include <algorithm>

namespace mirel::bench {

namespace {

/// A scene of --count nodes from types that are shared: half of the nodes are instances, half are shapes.
Figures BuildScene(const TaskInput& input) {
  const std::size_t instances = input.count / 2;
  const std::size_t types = std::max<std::size_t>(1, instances / 10000);
  LiteModel model;
  GeneratedModel::AddShared(model, instances, types);
  const auto body = std::make_shared<TopoShape>(GeneratedModel::MakeBody(1));
  for (std::size_t i = 0; i < types; ++i) {
    model.AddShape(GeneratedModel::BodyId(i), GRepShape::Create(body, nullptr, nullptr, 0.0, true));
  }
  const auto root = std::make_shared<GroupSceneNode>();
  Figures figures;
  const Meter meter;
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  meter.Stop(figures);
  CountScene(*root, figures);
  return figures;
}

}  // namespace

std::vector<Task> SceneTasks() {
  return {{"scene", "build a scene of --count nodes from shared types", BuildScene}};
}

}  // namespace mirel::bench

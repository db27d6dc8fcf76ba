// Makes a model of a table out of OpenCASCADE primitives, saves it as a model folder, opens it again and
// prints the tree: save_and_open FOLDER

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>

#include <glm/gtc/matrix_transform.hpp>

#include <cstdio>
#include <memory>
#include <string>

using namespace mirel;

// Stores the shape in the model and returns an item that places it.
static std::unique_ptr<ShapeItem> AddPart(LiteModel& model, const char* name, const TopoDS_Shape& shape) {
  auto item = std::make_unique<ShapeItem>();
  item->SetName(name);
  item->SetShapeId(model.AddShape(std::make_shared<TopoShape>(shape)));
  return item;
}

static void FillModel(LiteModel& model) {
  auto table = std::make_unique<GroupItem>();
  table->SetName("table");

  auto top = AddPart(model, "top", BRepPrimAPI_MakeBox(1200, 600, 30).Shape());
  top->SetTransform(glm::translate(glm::dmat4(1.0), glm::dvec3(0, 0, 700)));
  top->SetColor({0.8f, 0.6f, 0.4f});
  table->AddItem(std::move(top));

  // One leg, stored once and placed four times. Its tag says by how many instances it is used.
  auto leg = AddPart(model, "leg", BRepPrimAPI_MakeCylinder(25, 700).Shape());
  leg->SetTag(4);
  const ObjectId legId = leg->GetId();
  model.AddType(std::move(leg));
  for (int i = 0; i < 4; ++i) {
    auto instance = std::make_unique<InstanceItem>();
    instance->SetName("leg " + std::to_string(i + 1));
    instance->SetTypeId(legId);
    instance->SetTransform(
        glm::translate(glm::dmat4(1.0), glm::dvec3(i % 2 ? 1150 : 50, i < 2 ? 50 : 550, 0)));
    table->AddItem(std::move(instance));
  }
  model.AddItem(std::move(table));
}

// Prints a node and what is below it; returns the number of triangles that are drawn.
static std::size_t PrintNode(const SceneNode& node, int depth) {
  const glm::dvec4& position = node.GetTransform()[3];
  std::printf("%*s%s at (%g, %g, %g)\n", 2 * depth, "", node.GetName().c_str(), position.x, position.y,
              position.z);
  if (const auto* brep = dynamic_cast<const BrepSceneNode*>(&node)) {
    return brep->GetGRep()->GetMesh().GetTriangleCount();
  }
  std::size_t triangles = 0;
  for (const auto& child : node.GetNodes())
    triangles += PrintNode(*child, depth + 1);
  return triangles;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: save_and_open FOLDER\n");
    return 1;
  }
  const std::string folder = std::string(argv[1]) + "/";

  LiteModel model;
  FillModel(model);
  LiteModelWriter(model).Save(folder);

  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "index.gz", nullptr);
  if (!root) return 2;  // the log on stderr says why
  const std::size_t triangles = PrintNode(*root, 0);
  std::printf("%zu triangles\n", triangles);
  return triangles > 0 ? 0 : 2;
}

#include <Programs/mirel/Open/ModelFigures.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <gtest/gtest.h>

#include <limits>

namespace mirel {
namespace {

ObjectId Id(unsigned long long value) {
  ObjectId id;
  id.SetInteger(value);
  return id;
}

std::unique_ptr<LiteModelItem> InstanceOf(unsigned long long type) {
  auto instance = std::make_unique<InstanceItem>();
  instance->SetTypeId(Id(type));
  return instance;
}

std::unique_ptr<ShapeItem> Box(unsigned long long id, unsigned long long shape) {
  auto item = std::make_unique<ShapeItem>();
  item->SetId(Id(id));
  item->SetShapeId(Id(shape));
  return item;
}

void AddBody(LiteModel& model, unsigned long long id) {
  const auto body = std::make_shared<TopoShape>(BRepPrimAPI_MakeBox(1, 2, 3).Shape());
  const std::shared_ptr<GRepShape> grep = GRepShape::Create(body, nullptr, nullptr, 0.0, true);
  grep->Compute();
  model.AddShape(Id(id), body);
  model.AddShape(Id(id), grep);
}

TEST(ModelFiguresTest, CountsStoredAndSeen) {
  LiteModel model;
  AddBody(model, 1);
  auto red = Box(10, 1);
  red->SetFaceColor(0, glm::vec3(1, 0, 0));
  red->SetFaceColor(5, glm::vec3(1, 0, 0));
  model.AddType(std::move(red));
  auto pair = std::make_unique<GroupItem>();  // two red boxes and, in it, one without graphics
  pair->SetId(Id(11));
  pair->AddItem(InstanceOf(10));
  pair->AddItem(InstanceOf(10));
  pair->AddItem(Box(13, 99));
  model.AddType(std::move(pair));
  auto top = std::make_unique<GroupItem>();
  auto blue = Box(12, 1);
  blue->SetFaceColor(5, glm::vec3(0, 0, 1));
  blue->SetFaceColor(3, glm::vec3(0, 0, 1));
  top->AddItem(std::move(blue));
  top->AddItem(InstanceOf(11));
  top->AddItem(InstanceOf(11));
  top->AddItem(InstanceOf(77));  // of a type that is not there
  model.AddItem(std::move(top));

  const ModelFigures figures(model);
  EXPECT_EQ(figures.groups, 2u);
  EXPECT_EQ(figures.instances, 5u);
  EXPECT_EQ(figures.shapeItems, 3u);
  EXPECT_EQ(figures.placedShapes, 5u);  // one blue, four red
  EXPECT_EQ(figures.nodes,
            1u + 1 + 2 * 6);  // top, blue, and twice: instance, pair, and two of instance and box
  EXPECT_EQ(figures.depth, 5u);
  EXPECT_EQ(figures.shapes, 1u);
  EXPECT_EQ(figures.faces, 6u);
  EXPECT_EQ(figures.edges, 12u);
  EXPECT_EQ(figures.triangles, 12u);
  EXPECT_EQ(figures.placedTriangles, 60u);
  EXPECT_EQ(figures.facesWithoutTriangles, 0u);
  EXPECT_EQ(figures.coloredFaces, 3u);  // 0, 3 and 5 of the one body
  ASSERT_EQ(figures.types.size(), 2u);
  EXPECT_EQ(figures.types[0].uses, 2u);
  EXPECT_EQ(figures.types[1].uses, 2u);
}

TEST(ModelFiguresTest, EndsOnHostileModels) {
  LiteModel model;
  AddBody(model, 1);
  model.AddType(Box(1, 1));
  for (unsigned long long level = 2; level <= 200; ++level) {  // 2^199 boxes
    auto pair = std::make_unique<GroupItem>();
    pair->SetId(Id(level));
    pair->AddItem(InstanceOf(level - 1));
    pair->AddItem(InstanceOf(level - 1));
    model.AddType(std::move(pair));
  }
  model.AddItem(InstanceOf(200));
  EXPECT_EQ(ModelFigures(model).placedShapes, std::numeric_limits<std::uint64_t>::max());

  auto loop = std::make_unique<GroupItem>();  // two types that contain each other
  loop->SetId(Id(1000));
  loop->AddItem(InstanceOf(1001));
  model.AddType(std::move(loop));
  auto back = std::make_unique<GroupItem>();
  back->SetId(Id(1001));
  back->AddItem(InstanceOf(1000));
  model.AddType(std::move(back));
  model.AddItem(InstanceOf(1000));
  EXPECT_EQ(ModelFigures(model).types.size(), 202u);
}

}  // namespace
}  // namespace mirel

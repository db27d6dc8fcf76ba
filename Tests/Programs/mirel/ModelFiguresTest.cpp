#include <Programs/mirel/Open/ModelFigures.h>

#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <limits>

namespace mirel {
namespace {

void AddBody(LiteModel& model, unsigned long long id) {
  const std::shared_ptr<TopoShape> body = MakeBox(1, 2, 3);
  model.AddShape(Id(id), body);
  model.AddShape(Id(id), MakeGRep(body));
}

TEST(ModelFiguresTest, CountsStoredAndSeen) {
  LiteModel model;
  AddBody(model, 1);
  auto red = MakeShape(10, "", 1);
  red->SetFaceColor(0, glm::vec3(1, 0, 0));
  red->SetFaceColor(5, glm::vec3(1, 0, 0));
  model.AddType(std::move(red));
  // Two red boxes and one without graphics.
  model.AddType(MakeGroup(11, "", MakeInstance(0, "", 10), MakeInstance(0, "", 10), MakeShape(13, "", 99)));
  auto blue = MakeShape(12, "", 1);
  blue->SetFaceColor(5, glm::vec3(0, 0, 1));
  blue->SetFaceColor(3, glm::vec3(0, 0, 1));
  model.AddItem(MakeGroup(0, "", std::move(blue), MakeInstance(0, "", 11), MakeInstance(0, "", 11),
                          MakeInstance(0, "", 77)));  // of a type that is not there

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
  model.AddType(MakeShape(1, "", 1));
  for (unsigned long long level = 2; level <= 200; ++level) {  // 2^199 boxes
    model.AddType(MakeGroup(level, "", MakeInstance(0, "", level - 1), MakeInstance(0, "", level - 1)));
  }
  model.AddItem(MakeInstance(0, "", 200));
  EXPECT_EQ(ModelFigures(model).placedShapes, std::numeric_limits<std::uint64_t>::max());

  // Two types that contain each other.
  model.AddType(MakeGroup(1000, "", MakeInstance(0, "", 1001)));
  model.AddType(MakeGroup(1001, "", MakeInstance(0, "", 1000)));
  model.AddItem(MakeInstance(0, "", 1000));
  EXPECT_EQ(ModelFigures(model).types.size(), 202u);
}

}  // namespace
}  // namespace mirel

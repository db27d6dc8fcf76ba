#include <Programs/mirel/Open/ModelFigures.h>

#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <limits>

namespace mirel {
namespace {

// What it counts in a sound model, GuideTest compares with docs/guide.md.
TEST(ModelFiguresTest, EndsOnHostileModels) {
  LiteModel model;
  model.AddShape(Id(1), MakeGRep(MakeBox(1, 2, 3)));
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

#include <Viewer/Kernel/App/LiteBBoxVisitor.h>

#include <Viewer/Kernel/Model/LiteLimits.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

/// A model with the unit cube under id 10 and nothing else.
class LiteBBoxVisitorTest : public ::testing::Test {
 protected:
  LiteBBoxVisitorTest() { model_.AddShape(Id(10), MakeGRep(MakeBox(1, 1, 1))); }

  AABoxT<double> Measure() {
    LiteBBoxVisitor visitor(model_);
    model_.Apply(&visitor);
    return visitor.GetBox();
  }
  void ExpectBox(const AABoxT<double>& box, const glm::dvec3& min, const glm::dvec3& max) {
    EXPECT_TRUE(box.IsFinite());
    EXPECT_EQ(box.GetMin(), min);
    EXPECT_EQ(box.GetMax(), max);
  }

  LiteModel model_;
  LogCapture log_;
};

std::unique_ptr<ShapeItem> PlacedCube(const glm::dmat4& transform) {
  return With<ShapeItem>(MakeShape(1, "", 10), [&](ShapeItem& item) { item.SetTransform(transform); });
}

TEST_F(LiteBBoxVisitorTest, NothingGivesTheEmptyBox) {
  model_.AddItem(MakeGroup(1, ""));
  model_.AddItem(nullptr);
  EXPECT_TRUE(Measure().IsEmpty());
  EXPECT_TRUE(log_.GetEntries().empty());
  model_.AddItem(MakeGroup(1, "", MakeShape(2, "", 99), MakeShape(3, "", 98), MakeInstance(4, "", 97)));
  EXPECT_TRUE(Measure().IsEmpty());
  EXPECT_EQ(log_.GetTexts(3),
            (std::vector<std::string>{"Shape is null!", "Shape is null!", "Type is null!"}));
  EXPECT_TRUE(log_.Contains("LiteBBoxVisitor.cpp"));
}

TEST_F(LiteBBoxVisitorTest, PlacesEveryLevel) {
  model_.AddItem(PlacedCube(Move(10, 0, 0)));
  ExpectBox(Measure(), {10, 0, 0}, {11, 1, 1});
  model_.AddType(With<GroupItem>(MakeGroup(100, "", PlacedCube(glm::dmat4(1.0)), PlacedCube(Move(0, 5, 0))),
                                 [](GroupItem& type) { type.SetTransform(Move(0, 0, 100)); }));
  for (const double x : {-20.0, 30.0}) {
    model_.AddItem(With<InstanceItem>(MakeInstance(2, "", 100),
                                      [&](InstanceItem& item) { item.SetTransform(Move(x, 0, 0)); }));
  }
  ExpectBox(Measure(), {-20, 0, 0}, {31, 6, 101});

  // One item alone, and several walks with one visitor.
  LiteBBoxVisitor visitor(model_);
  model_.GetItems()[1]->Apply(&visitor);
  ExpectBox(visitor.GetBox(), {-20, 0, 100}, {-19, 6, 101});
  model_.GetItems()[0]->Apply(&visitor);
  ExpectBox(visitor.GetBox(), {-20, 0, 0}, {11, 6, 101});
}

TEST_F(LiteBBoxVisitorTest, ABoxIsTakenAnewAtEachLevel) {
  model_.AddItem(With<GroupItem>(MakeGroup(1, "", PlacedCube(TurnAboutZ(45.0))),
                                 [](GroupItem& group) { group.SetTransform(TurnAboutZ(-45.0)); }));
  const AABoxT<double> box = Measure();
  EXPECT_NEAR(box.GetMin().x, -0.5, 1e-6);
  EXPECT_NEAR(box.GetMax().x, 1.5, 1e-6);
  EXPECT_EQ(box.GetMin().z, 0.0);
}

TEST_F(LiteBBoxVisitorTest, AnInfiniteBoxStaysInfinite) {
  model_.AddShape(Id(20), MakeGRep(MakePlane()));
  model_.AddItem(PlacedCube(glm::dmat4(1.0)));
  model_.AddItem(MakeGroup(1, "", MakeShape(2, "", 20)));
  model_.AddItem(PlacedCube(Move(5, 0, 0)));
  EXPECT_TRUE(Measure().IsInfinite());
}

TEST_F(LiteBBoxVisitorTest, ATypeInsideItselfIsLeftOut) {
  model_.AddType(MakeGroup(100, "T", PlacedCube(Move(1, 0, 0)), MakeInstance(2, "", 101)));
  model_.AddType(MakeInstance(101, "", 100));
  model_.AddType(MakeInstance(200, "", 200));
  model_.AddItem(MakeInstance(3, "", 100));
  model_.AddItem(MakeInstance(4, "", 200));
  ExpectBox(Measure(), {1, 0, 0}, {2, 1, 1});
  EXPECT_EQ(log_.GetTexts(3).size(), 2U);
  EXPECT_TRUE(log_.Contains("contains itself"));
}

TEST_F(LiteBBoxVisitorTest, GoesAsDeepAsTheLimit) {
  model_.AddItem(MakeChain(kMaxNesting, PlacedCube(Move(3, 0, 0))));
  ExpectBox(Measure(), {3, 0, 0}, {4, 1, 1});
  EXPECT_TRUE(log_.GetEntries().empty());
  model_.AddItem(MakeChain(kMaxNesting + 1, PlacedCube(Move(9, 0, 0))));
  model_.AddItem(MakeChain(300000, PlacedCube(Move(9, 0, 0))));
  ExpectBox(Measure(), {3, 0, 0}, {4, 1, 1});
  EXPECT_EQ(log_.GetTexts(3).size(), 2U);
}

}  // namespace
}  // namespace mirel

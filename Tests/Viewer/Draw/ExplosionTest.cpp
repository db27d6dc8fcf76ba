#include <Viewer/Draw/Explosion.h>

#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <gtest/gtest.h>

#include <limits>

namespace mirel {
namespace {

// Two pairs of cubes, each pair in a group: at 0 and 10, and 100 and 110, on the x axis; and a lid over all of them.
std::shared_ptr<GroupSceneNode> MakePairs() {
  const auto root = std::make_shared<GroupSceneNode>();
  for (const double x : {0.0, 100.0}) {
    const auto pair = std::make_shared<GroupSceneNode>();
    pair->SetTransform(Move(x, 0, 0));
    pair->AddNode(BodyNode(BoxGRep(2, 2, 2), Move(0, 0, 0)));
    pair->AddNode(BodyNode(BoxGRep(2, 2, 2), Move(10, 0, 0)));
    root->AddNode(pair);
  }
  root->AddNode(BodyNode(BoxGRep(112, 2, 2), Move(0, 0, 20)));
  return root;
}

TEST(ExplosionTest, MovesNodesAwayFromTheMiddleOfTheirGroup) {
  const auto root = MakePairs();
  const auto scene = std::make_shared<DrawScene>(*root);
  const Explosion explosion(*scene);
  ASSERT_EQ(explosion.GetOffsets().size(), 5u);
  const std::shared_ptr<const DrawScene> moved = scene->Move(explosion.GetOffsets(), 0.5);
  const auto getMiddle = [](const DrawScene& of, std::uint32_t placement) {
    return (of.GetBox(placement).GetMin() + of.GetBox(placement).GetMax()) * 0.5;
  };
  for (std::uint32_t i = 0; i < 5; ++i) {
    const glm::dvec3 before = getMiddle(*scene, i), after = getMiddle(*moved, i);
    // Half as far again from x = 56 and z = 11, in which all lie; each pair besides from its own middle.
    const double pair = before.x < 50 ? 6 : before.x > 60 ? 106 : 56;
    EXPECT_NEAR(after.x, before.x + 0.5 * (pair - 56) + 0.5 * (before.x - pair), 1e-3) << i;
    EXPECT_NEAR(after.y, before.y, 1e-3);
    EXPECT_NEAR(after.z, before.z + 0.5 * (before.z > 10 ? 10 : -10), 1e-3);
    EXPECT_EQ(moved->GetPath(i), scene->GetPath(i));
  }
  EXPECT_NEAR(moved->GetBox().GetMax().z, 27, 1e-3);
  EXPECT_EQ(Explosion(DrawScene(GroupSceneNode())).GetOffsets().size(), 0u);
}

TEST(ExplosionTest, TakesSeveralModelsApart) {
  std::vector<std::shared_ptr<SceneNode>> roots = {BodyNode(BoxGRep(2, 2, 2), glm::dmat4(1.0)),
                                                   BodyNode(BoxGRep(2, 2, 2), Move(8, 0, 0))};
  const Explosion explosion{DrawScene(roots)};
  EXPECT_NEAR(explosion.GetOffsets()[0].x, -4, 1e-4);
  EXPECT_NEAR(explosion.GetOffsets()[1].x, 4, 1e-4);
}

TEST(ExplosionTest, KeepsWhatCannotMoveWhereItIs) {
  const DrawScene scene(*MakePairs());
  const float none = std::numeric_limits<float>::quiet_NaN();
  const std::shared_ptr<const DrawScene> moved = scene.Move({{none, 0, 0}, {1e20f, 0, 0}, {0, 5, 0}});
  for (const std::uint32_t i : {0u, 1u, 3u, 4u})
    EXPECT_EQ(moved->GetPlacement(i), scene.GetPlacement(i));
  EXPECT_EQ(moved->GetPlacement(2)[3].y, scene.GetPlacement(2)[3].y + 5);
  EXPECT_TRUE(moved->GetBox().IsFinite());
}

}  // namespace
}  // namespace mirel

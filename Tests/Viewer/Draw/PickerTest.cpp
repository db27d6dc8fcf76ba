#include <Viewer/Draw/Picker.h>

#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <gtest/gtest.h>

#include <glm/glm.hpp>

namespace mirel {
namespace {

const glm::dvec2 kSize(800, 600);

/// Boxes of 10 x 20 x 30 in a row along x, seen from above.
class PickerTest : public ::testing::TestWithParam<Camera::Projection> {
 protected:
  PickerTest() {
    const auto root = std::make_shared<GroupSceneNode>();
    for (int i = 0; i < 5; ++i)
      root->AddNode(BodyNode(BoxGRep(10, 20, 30), Move(40 * i, 0, 0)));
    caster_ = MakeCaster(*root);
    camera_.SetProjection(GetParam());
    camera_.SetView(Camera::View::kTop);
    camera_.Fit(caster_->GetScene(), kSize.x / kSize.y);
  }

  glm::dvec2 See(double x, double y, double z) const { return glm::dvec2(camera_.Project({x, y, z}, kSize)); }

  std::shared_ptr<const RayCaster> caster_;
  Camera camera_;
};

TEST_P(PickerTest, FindsFacesEdgesAndVertices) {
  const Picker picker(caster_, camera_, kSize);
  const PickResult face = picker.Pick(See(85, 10, 30), 3);
  ASSERT_EQ(face.kind, PickResult::Kind::kFace);
  EXPECT_EQ(face.hit.placement, 2u);
  EXPECT_LT(glm::distance(face.point, glm::dvec3(85, 10, 30)), 1e-3);

  // From within the face, and from beside the body.
  for (const double aside : {-1.0, 1.0}) {
    const PickResult edge = picker.Pick(See(85, 20, 30) + glm::dvec2(0, aside), 3);
    ASSERT_EQ(edge.kind, PickResult::Kind::kEdge) << aside;
    EXPECT_LT(glm::distance(edge.point, glm::dvec3(85, 20, 30)), 1e-3);
    EXPECT_EQ(picker.Pick(See(85, 20, 30) + glm::dvec2(0, aside)).kind,
              aside > 0 ? PickResult::Kind::kFace : PickResult::Kind::kNothing);
    const PickResult vertex = picker.Pick(See(90, 20, 30) + glm::dvec2(aside, aside), 3);
    ASSERT_EQ(vertex.kind, PickResult::Kind::kVertex) << aside;
    EXPECT_LT(glm::distance(vertex.point, glm::dvec3(90, 20, 30)), 1e-9);
    EXPECT_LT(
        glm::distance(BoxGRep(10, 20, 30)->GetMesh().GetPosition(vertex.vertex), glm::dvec3(10, 20, 30)),
        1e-3);
  }
  EXPECT_EQ(picker.Pick(See(65, 10, 30), 3).kind, PickResult::Kind::kNothing);
}

TEST_P(PickerTest, FindsTheCutOfASection) {
  const Picker picker(caster_, camera_, kSize, {{{0, 0, 1}, 12.0}, {{1, 0, 0}, 100.0}});
  const PickResult cut = picker.Pick(See(85, 10, 12));
  ASSERT_EQ(cut.kind, PickResult::Kind::kFace);
  EXPECT_EQ(cut.hit.placement, 2u);
  EXPECT_EQ(cut.hit.face, FaceMap::kCut);
  EXPECT_NEAR(cut.point.z, 12.0, 1e-9);
  EXPECT_EQ(picker.Pick(See(125, 10, 12)).kind, PickResult::Kind::kNothing);  // behind the second plane
}

TEST_P(PickerTest, FindsAllThatARectangleHoldsOrTouches) {
  using Bodies = std::vector<std::uint32_t>;
  const Picker picker(caster_, camera_, kSize);
  const auto pick = [&](double left, double right, Picker::Reach reach) {
    return picker.PickRectangle(See(right, -60, 15), See(left, 60, 15), reach);
  };
  EXPECT_EQ(pick(30, 105, Picker::Reach::kInside), (Bodies{1, 2}));
  EXPECT_EQ(pick(30, 125, Picker::Reach::kInside), (Bodies{1, 2}));
  EXPECT_EQ(pick(30, 125, Picker::Reach::kTouching), (Bodies{1, 2, 3}));
  EXPECT_EQ(pick(55, 75, Picker::Reach::kTouching), Bodies());
  EXPECT_EQ(pick(43, 47, Picker::Reach::kTouching), (Bodies{1}));  // within one face
  EXPECT_EQ(pick(43, 43, Picker::Reach::kTouching), Bodies());
  const Picker cut(caster_, camera_, kSize, {{{1, 0, 0}, 85.0}});
  EXPECT_EQ(cut.PickRectangle({0, 0}, kSize, Picker::Reach::kTouching), (Bodies{0, 1, 2}));
}

INSTANTIATE_TEST_SUITE_P(Projections, PickerTest,
                         ::testing::Values(Camera::Projection::kPerspective, Camera::Projection::kParallel));

}  // namespace
}  // namespace mirel

#include <Viewer/Draw/DrawScene.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <gp_Pnt.hxx>

#include <gtest/gtest.h>

#include <limits>

namespace mirel {
namespace {

std::shared_ptr<BrepSceneNode> Colored(const std::shared_ptr<GRepShape>& grep, const glm::vec3& color,
                                       const glm::dmat4& placement) {
  const std::shared_ptr<BrepSceneNode> node = BodyNode(grep, placement);
  node->SetColor(color);
  return node;
}

TEST(DrawSceneTest, DrawsWhatIsAlikeTogether) {
  const std::shared_ptr<GRepShape> cube = BoxGRep(1, 1, 1), slab = BoxGRep(4, 4, 1);
  const auto root = std::make_shared<GroupSceneNode>(), inner = std::make_shared<GroupSceneNode>();
  inner->SetTransform(Move(0, 0, 100) * Mirror());
  inner->AddNode(Colored(cube, {1, 0, 0}, Move(5, 0, 0)));
  inner->AddNode(Colored(cube, {0, 1, 0}, Move(6, 0, 0)));
  root->AddNode(inner);
  root->AddNode(Colored(cube, {1, 0, 0}, Move(7, 0, 0)));
  root->AddNode(BodyNode(slab, glm::dmat4(1.0)));
  for (int i = 0; i < 2; ++i) {
    const auto painted = BodyNode(slab, Move(0, 10 * (i + 1), 0));
    painted->SetFaceColor(2, {0, 0, 1});
    painted->SetFaceColor(99, {0, 0, 1});
    root->AddNode(painted);
  }
  const DrawScene scene(*root);
  ASSERT_EQ(scene.GetBatches().size(), 4u);
  EXPECT_EQ(scene.GetPlacementCount(), 6u);
  std::size_t reds = 0, painted = 0;
  std::uint32_t next = 0;
  for (const DrawBatch& batch : scene.GetBatches()) {
    EXPECT_EQ(batch.first, next);
    EXPECT_EQ(batch.nodes.size(), batch.placements.size());
    next += static_cast<std::uint32_t>(batch.placements.size());
    if (batch.palette->GetColor(0) == glm::vec3(1, 0, 0)) reds += batch.placements.size();
    if (batch.palette->GetColor(2) == glm::vec3(0, 0, 1)) {
      painted += batch.placements.size();
      EXPECT_EQ(batch.palette->GetColor(1), BrepSceneNode::kDefaultColor);
    }
    EXPECT_EQ(&scene.GetBatch(batch.first), &batch);
  }
  EXPECT_EQ(reds, 2u);
  EXPECT_EQ(painted, 2u);
  EXPECT_EQ(scene.GetTurns().GetCount(), 2u);  // as they are, and mirrored

  // The way from the root, and where it leads.
  for (std::uint32_t i = 0; i < 6; ++i) {
    const std::vector<const SceneNode*> path = scene.GetPath(i);
    EXPECT_EQ(path.front(), root.get());
    if (path.size() != 3) continue;
    EXPECT_EQ(path[1], inner.get());
    const double x = -path[2]->GetTransform()[3].x;
    EXPECT_EQ(scene.GetPlacement(i)[3], glm::dvec3(x, 0, 100));
    EXPECT_EQ(scene.GetBox(i).GetMin(), glm::dvec3(x - 1, 0, 100));
  }
  EXPECT_EQ(scene.GetBox().GetMin(), glm::dvec3(-7, 0, 0));
  EXPECT_EQ(scene.GetBox().GetMax(), glm::dvec3(8, 24, 101));

  const DrawScene twice(std::vector<std::shared_ptr<SceneNode>>{root, root});
  EXPECT_EQ(twice.GetBatches().size(), 4u);
  EXPECT_EQ(twice.GetPlacementCount(), 12u);
  EXPECT_EQ(twice.GetNodes().size(), 2 * scene.GetNodes().size());

  const DrawScene recolored(std::vector<std::shared_ptr<SceneNode>>{root}, NodeVisibility(),
                            [](const BrepSceneNode&) { return glm::vec3(0.5f, 2.0f, 0.0f); });
  ASSERT_EQ(recolored.GetBatches().size(), 2u);  // of what differs in colours alone, one is left
  EXPECT_EQ(recolored.GetBatches().front().palette->GetColor(2), glm::vec3(0.5f, 1.0f, 0.0f));
}

// Of a body without a colour of its own, what is cut shows the colour that most of it has.
TEST(DrawSceneTest, GivesTheMaterialTheColorOfTheBodyOrOfMostOfIt) {
  const glm::vec3 red(1, 0, 0), green(0, 1, 0), blue(0, 0, 1);
  const auto node = BodyNode(BoxGRep(10, 2, 1), glm::dmat4(1.0));  // faces: x, x, y, y, z, z
  const auto getMaterial = [&] { return DrawPalette(*node).GetColor(0x80000000u); };
  EXPECT_EQ(getMaterial(), BrepSceneNode::kDefaultColor);
  for (const unsigned face : {0u, 1u, 2u, 3u})
    node->SetFaceColor(face, red);
  EXPECT_EQ(getMaterial(), BrepSceneNode::kDefaultColor);  // 24 mm2 are red, 40 have no colour
  node->SetFaceColor(5, green);
  EXPECT_EQ(getMaterial(), red);
  node->SetFaceColor(4, green);
  EXPECT_EQ(getMaterial(), green);
  node->SetColor(blue);
  EXPECT_EQ(getMaterial(), blue);
  EXPECT_EQ(DrawPalette(*node).GetColor(0), red);
}

TEST(DrawSceneTest, LeavesOutWhatIsHiddenOrNotShownAlone) {
  const auto root = std::make_shared<GroupSceneNode>(), group = std::make_shared<GroupSceneNode>();
  const auto a = BodyNode(BoxGRep(1, 1, 1), Move(0, 0, 0)), b = BodyNode(BoxGRep(1, 1, 1), Move(2, 0, 0));
  const auto c = BodyNode(BoxGRep(1, 1, 1), Move(4, 0, 0));
  group->AddNode(a);
  group->AddNode(b);
  root->AddNode(group);
  root->AddNode(c);
  const auto draw = [&](const NodeVisibility& visibility) {
    std::string drawn;
    const DrawScene scene(*root, visibility);
    for (std::uint32_t i = 0; i < scene.GetPlacementCount(); ++i) {
      const SceneNode* const node = scene.GetPath(i).back();
      drawn += node == a.get() ? "a" : node == b.get() ? "b" : "c";
      drawn += scene.GetBatch(i).ghost ? "~ " : " ";
    }
    return drawn;
  };
  NodeVisibility visibility;
  EXPECT_EQ(draw(visibility), "c a b ");
  visibility.ShowAlone(group.get());
  EXPECT_EQ(draw(visibility), "a b ");
  visibility.Ghost(c.get());
  EXPECT_EQ(draw(visibility), "c~ a b ");
  visibility.Hide(a.get());
  EXPECT_EQ(draw(visibility), "c~ b ");
  visibility.Ghost(group.get());
  visibility.Hide(root.get());
  EXPECT_EQ(draw(visibility), "");

  // What nodes say of themselves.
  group->SetOpacity(0.5f);
  b->SetVisible(false);
  EXPECT_EQ(draw(NodeVisibility()), "c a~ ");
}

TEST(DrawSceneTest, LeavesOutWhatCannotBeDrawnWhereItIsPlaced) {
  LogCapture log;
  const auto root = std::make_shared<GroupSceneNode>();
  const double nan = std::numeric_limits<double>::quiet_NaN(), huge = std::numeric_limits<double>::max();
  glm::dmat4 flat(1.0), zero(0.0), blown(1.0);
  flat[2] = {0, 0, 0, 0};
  zero[3][3] = 1.0;
  blown[0][0] = huge;
  for (const glm::dmat4& placement : {Move(nan, 0, 0), Move(huge, 0, 0), Move(0, 1e13, 0), flat, zero, blown})
    root->AddNode(BodyNode(BoxGRep(1, 1, 1), placement));
  root->AddNode(BodyNode(nullptr, glm::dmat4(1.0)));
  root->AddNode(BodyNode(MakeGRep(MakePlane()), glm::dmat4(1.0)));
  root->AddNode(BodyNode(MakeGRep(MakePoints(1)), glm::dmat4(1.0)));
  log.Clear();
  const DrawScene nothing(*root);
  EXPECT_EQ(nothing.GetPlacementCount(), 0u);
  EXPECT_EQ(nothing.GetLeftOutCount(), 6u);
  EXPECT_TRUE(nothing.GetBox().IsEmpty());
  EXPECT_EQ(log.Count(1, "6 bodies cannot be drawn where they are placed and are left out"), 1);
  EXPECT_FALSE(MakeCaster(*root)->Cast({{0, 0, -5}, {0, 0, 1}}).IsHit());

  root->AddNode(BodyNode(
      MakeGRep(std::make_shared<TopoShape>(BRepBuilderAPI_MakeEdge(gp_Pnt(), gp_Pnt(1, 0, 0)).Shape())),
      Move(nan, 0, 0)));
  EXPECT_EQ(DrawScene(*root).GetLeftOutCount(), 7u);
  root->AddNode(BodyNode(BoxGRep(1, 1, 1), Shear()));
  EXPECT_EQ(DrawScene(*root).GetPlacementCount(), 1u);
}

}  // namespace
}  // namespace mirel

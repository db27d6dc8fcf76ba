#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <TopoDS_Shape.hxx>

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mirel {
namespace {

glm::dmat4 Move(double x, double y, double z) {
  return glm::translate(glm::dmat4(1.0), glm::dvec3(x, y, z));
}

// A scene of a group in a group with a box of 1 by 2 by 3 mm, and what it says of itself.
class SceneTest : public testing::Test {
 protected:
  SceneTest() {
    const auto grep = GRepShape::Create(std::make_shared<TopoShape>(BRepPrimAPI_MakeBox(1, 2, 3).Shape()),
                                        nullptr, nullptr, 0.0, true);
    grep->Compute();
    body = std::make_shared<BrepSceneNode>(grep);
    body->SetTransform(Move(0, 0, 5));
    inner->AddNode(body);
    outer->SetTransform(Move(100, 0, 0));
    outer->AddNode(inner);
    scene.AddListener([this](const SceneNode& node, SceneChange change) {
      heard += std::string(1, Name(node)) + std::to_string(static_cast<int>(change)) + ' ';
    });
    scene.AddNode(outer);
  }

  char Name(const SceneNode& node) const {
    return &node == outer.get() ? 'o' : &node == inner.get() ? 'i' : 'b';
  }
  std::string TakeHeard() { return std::exchange(heard, std::string()); }

  Scene scene;
  std::shared_ptr<GroupSceneNode> outer = std::make_shared<GroupSceneNode>(),
                                  inner = std::make_shared<GroupSceneNode>();
  std::shared_ptr<BrepSceneNode> body;
  std::string heard;
};

TEST_F(SceneTest, NodesKnowWhereTheyAre) {
  EXPECT_EQ(body->GetParent(), inner.get());
  EXPECT_EQ(outer->GetParent(), nullptr);
  EXPECT_EQ(body->GetPath(), (std::vector<const SceneNode*>{outer.get(), inner.get(), body.get()}));
  EXPECT_EQ(body->GetScenePlacement(), Move(100, 0, 5));
  EXPECT_EQ(body->GetKind(), SceneNodeKind::kBrep);
  EXPECT_EQ(inner->GetKind(), SceneNodeKind::kGroup);
  EXPECT_EQ(GeneralSceneNode().GetKind(), SceneNodeKind::kOther);
  // A group that goes leaves its children without a parent.
  scene.Clear();
  outer.reset();
  EXPECT_EQ(inner->GetParent(), nullptr);
  EXPECT_EQ(body->GetPath().size(), 2u);
}

TEST_F(SceneTest, ListenersHearWhatChanges) {
  EXPECT_EQ(TakeHeard(), "o0 ");
  body->SetVisible(false);
  inner->SetOpacity(0.5f);
  outer->SetHighlighted(true);
  body->SetTransform(Move(1, 1, 1));
  body->SetColor({1, 0, 0});
  body->SetFaceColor(0, {0, 1, 0});
  EXPECT_EQ(TakeHeard(), "b4 i5 o6 b2 b3 b3 ");
  EXPECT_TRUE(inner->RemoveNode(*body));
  EXPECT_FALSE(inner->RemoveNode(*body));
  body->SetVisible(true);
  EXPECT_EQ(TakeHeard(), "b1 ");
  inner->AddNode(body);
  scene.RemoveNode(*outer);
  body->SetVisible(false);
  EXPECT_EQ(TakeHeard(), "b0 o1 ");
  EXPECT_TRUE(scene.GetNodes().empty());
  scene.RemoveListener(1);
  scene.AddNode(outer);
  EXPECT_EQ(TakeHeard(), "");
}

TEST_F(SceneTest, OpacityStaysBetweenNoneAndAll) {
  for (const auto& [given, taken] :
       {std::pair(0.25f, 0.25f), {2.0f, 1.0f}, {-1.0f, 0.0f}, {std::nanf(""), 0.0f}}) {
    body->SetOpacity(given);
    EXPECT_EQ(body->GetOpacity(), taken);
  }
}

TEST_F(SceneTest, BoxesArePlacedOnceAndKeepTheirDigits) {
  EXPECT_EQ(GetNodeBox(*body).GetMin(), glm::dvec3(100, 0, 5));
  EXPECT_EQ(GetSceneBox(scene).GetMax(), glm::dvec3(101, 2, 8));
  outer->SetTransform(Move(123456789.125, 0, 0));
  EXPECT_EQ(GetSceneBox(scene).GetMin().x, 123456789.125);
  // Turned there and back on two levels, it is what it was.
  const glm::dmat4 turn = glm::rotate(glm::dmat4(1.0), 0.5, glm::dvec3(0, 0, 1));
  outer->SetTransform(turn);
  inner->SetTransform(glm::transpose(turn));
  EXPECT_NEAR(GetSceneBox(scene).GetMax().y, 2.0, 1e-12);
  EXPECT_TRUE(GetNodeBox(GroupSceneNode()).IsEmpty());
  EXPECT_TRUE(GetNodeBox(BrepSceneNode(nullptr)).IsEmpty());
}

TEST_F(SceneTest, TheColourOfAFaceComesBeforeThatOfTheBody) {
  EXPECT_EQ(body->GetDrawnColor(0), BrepSceneNode::kDefaultColor);
  body->SetColor({1, 0, 0});
  body->SetFaceColor(2, {0, 1, 0});
  EXPECT_EQ(body->GetDrawnColor(2), glm::vec3(0, 1, 0));
  EXPECT_EQ(body->GetDrawnColor(3), glm::vec3(1, 0, 0));
}

}  // namespace
}  // namespace mirel

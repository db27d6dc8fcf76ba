#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
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
#include <cstdint>
#include <map>
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

// The nodes that a type's item gets in each instance have one placement, id and name, until one of them is changed.
TEST(SceneNode, SharesWhatEqualNodesHaveInCommon) {
  constexpr unsigned kNodes = 1000;
  const std::uint64_t before = MemoryBudget::GetUsed();
  GroupSceneNode group;
  for (unsigned i = 0; i < kNodes; ++i) {
    const auto node = std::make_shared<GroupSceneNode>();
    node->SetTransform(Move(i % 2, 0, 0));  // equal ids alone are not enough
    node->SetUserId(i < kNodes / 2 ? 7 : 8);
    node->SetName("bolt");
    group.AddNode(node);
  }
  const auto at = [&group](unsigned i) -> SceneNode& { return *group.GetNodes()[i]; };
  for (unsigned i = 0; i < kNodes; ++i)
    ASSERT_EQ(at(i).GetTransform(), Move(i % 2, 0, 0));
  EXPECT_GT(MemoryBudget::GetUsed(), before + kNodes * (kSceneNodeBytes + kNodeTraitsBytes))
      << "they took turns";

  GroupSceneNode other;
  for (unsigned i = 0; i < kNodes; i += 2)
    other.AddNode(group.GetNodes()[i]);
  const std::uint64_t half = MemoryBudget::GetUsed();
  for (unsigned i = 0; i < kNodes; i += 2) {
    at(i).SetName("bolt");
    group.GetNodes()[i]->Settle();
  }
  EXPECT_LT(MemoryBudget::GetUsed(), half - (kNodes / 2 - 4) * kNodeTraitsBytes);
  at(0).SetTransform(Move(0, 9, 0));
  at(2).SetName("nut");
  EXPECT_EQ(at(4).GetTransform(), Move(0, 0, 0));
  EXPECT_EQ(at(2).GetTransform(), Move(0, 0, 0));
  EXPECT_EQ(at(0).GetName() + at(2).GetName() + at(4).GetName(), "boltnutbolt");
  EXPECT_EQ(at(0).GetUserId(), 7u);
}

// Colours are compared with those of the node before; whatever they are, they are what was set.
TEST(BrepSceneNode, HasTheFaceColoursThatWereSetWhateverTheNodeBeforeHas) {
  using Colors = std::vector<std::pair<unsigned, float>>;
  const auto make = [](const Colors& colors) {
    const auto node = std::make_shared<BrepSceneNode>(nullptr);
    for (const auto& [face, red] : colors)
      node->SetFaceColor(face, {red, 0, 0});
    GroupSceneNode().AddNode(node);
    return node;
  };
  const Colors usual{{5, 0.5f}, {1, 0.1f}, {3, 0.3f}};
  for (const Colors& next : std::vector<Colors>{usual,
                                                {{5, 0.5f}, {1, 0.1f}},
                                                {{5, 0.5f}, {1, 0.1f}, {3, 0.3f}, {4, 0.4f}},
                                                {{5, 0.5f}, {1, 0.1f}, {3, 0.2f}},
                                                {{5, 0.5f}, {1, 0.1f}, {5, 0.6f}},
                                                {}}) {
    const auto before = make(usual), node = make(next);
    std::map<unsigned, float> expected;
    for (const auto& [face, red] : next)
      expected[face] = red;
    std::map<unsigned, float> reached;
    for (const auto& [face, color] : node->GetFaceColors())
      reached[face] = color.r;
    EXPECT_EQ(reached, expected);
    EXPECT_EQ(node->GetPalette() == before->GetPalette(), next == usual);
    // Of colours given twice nothing may be left for the next one to be compared with.
    EXPECT_EQ(make(next)->GetFaceColors().size(), expected.size());
  }
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

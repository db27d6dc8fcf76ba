#include <Viewer/Kernel/App/LiteVisualVisitor.h>

#include <Viewer/Kernel/App/LiteBBoxVisitor.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Model/LiteLimits.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

/// The assembly with GReps, as it is before it is saved: type 200 is still a type.
void FillWithGReps(LiteModel& model) {
  FillAssembly(model);
  for (const auto& [id, shape] : model.GetShape())
    model.AddShape(id, MakeGRep(shape));
}

TEST(LiteVisualVisitor, PassesEveryElementOfATransformAndUnusualColours) {
  LiteModel model;
  model.AddShape(Id(10), MakeGRep(MakeBox(1, 1, 1)));
  glm::dmat4 matrix;
  for (int k = 0; k < 16; ++k)
    matrix[k / 4][k % 4] = k + 0.1;
  auto item = MakeShape(18446744073709551615U, "", 10);
  item->SetTransform(matrix);
  item->SetColor({-5.0F, 7.0F, 0.0F});
  item->SetFaceColor(-1, {-1.0F, 2.0F, 3.0F});
  model.AddItem(std::move(item));
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  ASSERT_EQ(root->GetNodes().size(), 1U);
  const auto& node = dynamic_cast<BrepSceneNode&>(*root->GetNodes()[0]);
  EXPECT_EQ(node.GetTransform(), matrix);
  EXPECT_EQ(node.GetUserId(), 18446744073709551615U);
  EXPECT_EQ(node.GetColor(), glm::vec3(-5.0F, 7.0F, 0.0F));
  EXPECT_EQ(node.GetFaceColors().at(4294967295U), glm::vec3(-1.0F, 2.0F, 3.0F));
  EXPECT_EQ(node.GetGRep(), model.FindGRepShape(Id(10)));
}

TEST(LiteVisualVisitor, NodesShareLongNamesAndFaceColours) {
  LiteModel model;
  model.AddShape(Id(10), MakeGRep(MakeBox(1, 1, 1)));
  const std::string name(1000, 'n');
  // The second type has the same colours in another order, the third has others.
  const std::vector<std::vector<int>> faces{{5, 0, 3}, {3, 5, 0}, {5, 0}};
  for (unsigned type = 0; type < faces.size(); ++type) {
    auto shape = MakeShape(100 + type, name, 10);
    for (const int face : faces[type])
      shape->SetFaceColor(face, {0.25F, 0.5F, static_cast<float>(face)});
    model.AddType(std::move(shape));
    model.AddItem(MakeInstance(2 * type + 1, "", 100 + type));
    model.AddItem(MakeInstance(2 * type + 2, "", 100 + type));
  }
  const auto root = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  std::vector<std::shared_ptr<BrepSceneNode>> nodes;
  for (const auto& instance : root->GetNodes()) {
    const auto& content = dynamic_cast<GroupSceneNode&>(*instance).GetNodes();
    nodes.push_back(std::dynamic_pointer_cast<BrepSceneNode>(content.at(0)));
  }
  for (const auto& node : nodes) {
    EXPECT_EQ(node->GetName(), name);
    EXPECT_EQ(&node->GetName(), &nodes[0]->GetName());
    EXPECT_EQ(node->GetPalette() == nodes[0]->GetPalette(), node->GetFaceColors().size() == 3);
  }
  EXPECT_EQ(nodes[4]->GetPalette(), nodes[5]->GetPalette());

  // What one node changes stays with it.
  const std::shared_ptr<const FacePalette> shared = nodes[0]->GetPalette();
  nodes[0]->SetFaceColor(3, {1.0F, 1.0F, 1.0F});
  nodes[0]->SetFaceColor(4, {0.0F, 0.0F, 0.0F});
  EXPECT_EQ(nodes[0]->GetFaceColors().at(3), glm::vec3(1.0F));
  EXPECT_EQ(nodes[0]->GetFaceColors().size(), 4U);
  EXPECT_EQ(nodes[1]->GetPalette(), shared);
  EXPECT_EQ(shared->at(3), glm::vec3(0.25F, 0.5F, 3.0F));
  EXPECT_EQ(shared->find(4), shared->end());
  // What nobody uses any more is gone, and comes anew.
  const std::weak_ptr<const FacePalette> unused = nodes[0]->GetPalette();
  nodes[0]->SetFaceColor(4, {0.5F, 0.0F, 0.0F});
  EXPECT_EQ(nodes[0]->GetFaceColors().size(), 4U);
  EXPECT_TRUE(unused.expired());
}

TEST(LiteVisualVisitor, TagsBecomeTheUuidsOfTheLastNodes) {
  LiteModel model;
  FillWithGReps(model);
  model.AddType(With<ShapeItem>(MakeShape(300, "unused", 10), [](ShapeItem& type) { type.SetTag(77); }));
  model.AddItem(With<ShapeItem>(MakeShape(6, "no grep", 99), [](ShapeItem& item) { item.SetTag(88); }));
  const auto root = std::make_shared<GroupSceneNode>();
  LogCapture log;
  LiteVisualVisitor visitor(model, nullptr, root);
  model.Apply(&visitor);
  const auto nodesOf = [](const std::shared_ptr<SceneNode>& node) -> const auto& {
    return dynamic_cast<GroupSceneNode&>(*node).GetNodes();
  };
  const auto& nodes = nodesOf(root->GetNodes()[0]);
  const auto& items = dynamic_cast<GroupItem&>(*model.GetItems()[0]).GetChildren();
  ASSERT_EQ(nodes.size(), 3U);
  for (std::size_t i = 0; i < nodes.size(); ++i)
    EXPECT_EQ(items[i]->GetTag(), nodes[i]->GetUuid());
  // Each instance has nodes of its own.
  const auto& bolt = dynamic_cast<GroupItem&>(*model.FindType(Id(100))).GetChildren()[0];
  const auto boltNode = [&](std::size_t instance) { return nodesOf(nodesOf(nodes[instance])[0])[0]; };
  EXPECT_EQ(bolt->GetTag(), boltNode(1)->GetUuid());
  EXPECT_NE(bolt->GetTag(), boltNode(0)->GetUuid());
  EXPECT_EQ(model.FindType(Id(100))->GetTag(), nodesOf(nodes[1])[0]->GetUuid());
  EXPECT_EQ(model.FindType(Id(300))->GetTag(), 77U);
  EXPECT_EQ(model.GetItems()[2]->GetTag(), 88U);
  EXPECT_EQ(log.GetTexts(3), std::vector<std::string>{"Shape is null!"});
}

TEST(LiteVisualVisitor, WhatIsMissingGivesNoNode) {
  LogCapture log;
  LiteModel model;
  model.AddItem(MakeGroup(3, "", MakeInstance(4, "", 99), MakeShape(5, "", 99), MakeGroup(6, "")));
  model.AddItem(nullptr);
  EXPECT_EQ(DescribeModel(model), "G 0 \"\" (0 0 0)\n  G 3 \"\" (0 0 0)\n    G 6 \"\" (0 0 0)\n");
  EXPECT_EQ(log.GetTexts(3), (std::vector<std::string>{"Type is null!", "Shape is null!"}));
  EXPECT_TRUE(log.Contains("LiteVisualVisitor.cpp"));
}

TEST(LiteVisualVisitor, WithoutAParentTopLevelNodesGoIntoTheScene) {
  LiteModel model;
  FillWithGReps(model);
  const auto scene = std::make_shared<Scene>();
  LiteVisualVisitor visitor(model, scene, nullptr);
  model.Apply(&visitor);
  ASSERT_EQ(scene->GetNodes().size(), 2U);
  EXPECT_EQ(scene->GetNodes()[0]->GetUserId(), 1U);
  EXPECT_EQ(scene->GetNodes()[1]->GetUserId(), 5U);

  const auto parent = std::make_shared<GroupSceneNode>();
  LiteVisualVisitor both(model, scene, parent);
  model.GetItems()[1]->Apply(&both);
  EXPECT_EQ(parent->GetNodes().size(), 1U) << "the parent comes first";
  EXPECT_EQ(scene->GetNodes().size(), 2U);

  LogCapture log;
  LiteVisualVisitor nowhere(model, nullptr, nullptr);
  model.Apply(&nowhere);
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
}

TEST(LiteVisualVisitor, ATypeInsideItselfIsLeftOut) {
  LiteModel model;
  model.AddShape(Id(10), MakeGRep(MakeBox(1, 1, 1)));
  model.AddType(MakeGroup(100, "T", MakeShape(101, "S", 10), MakeInstance(102, "again", 100)));
  model.AddType(MakeGroup(201, "U", MakeInstance(203, "u", 202), MakeShape(204, "S", 10)));
  model.AddType(MakeInstance(202, "V", 201));
  model.AddItem(MakeInstance(1, "direct", 100));
  model.AddItem(MakeInstance(2, "through", 201));
  LogCapture log;
  EXPECT_EQ(DescribeModel(model), "G 0 \"\" (0 0 0)\n"
                                  "  G 1 \"direct\" (0 0 0)\n"
                                  "    G 100 \"T\" (0 0 0)\n"
                                  "      B 101 \"S\" (0 0 0) [-1 -1 -1]\n"
                                  "  G 2 \"through\" (0 0 0)\n"
                                  "    G 201 \"U\" (0 0 0)\n"
                                  "      G 203 \"u\" (0 0 0)\n"
                                  "      B 204 \"S\" (0 0 0) [-1 -1 -1]\n");
  EXPECT_EQ(log.GetTexts(3),
            (std::vector<std::string>{"Type 100 \"T\" contains itself: instance 102 of it is left out",
                                      "Type 201 \"U\" contains itself: instance 202 of it is left out"}));
}

TEST(LiteVisualVisitor, GoesAsDeepAsTheLimit) {
  LiteModel model;
  model.AddShape(Id(10), MakeGRep(MakeBox(1, 1, 1)));
  model.AddItem(MakeChain(kMaxNesting, MakeShape(7777, "", 10)));
  LogCapture log;
  EXPECT_NE(DescribeModel(model).find("B 7777"), std::string::npos);
  EXPECT_TRUE(log.GetEntries().empty());
  model.AddItem(MakeChain(kMaxNesting + 1, MakeShape(8888, "", 10)));
  model.AddItem(MakeChain(300000, MakeShape(9999, "", 10)));
  const std::string nodes = DescribeModel(model);
  EXPECT_EQ(nodes.find("B 8888"), std::string::npos);
  EXPECT_EQ(nodes.find("B 9999"), std::string::npos);
  EXPECT_EQ(log.GetTexts(3).size(), 2U);

  // Types in each other count as well.
  LiteModel chain;
  for (unsigned i = 1; i <= 1000; ++i)
    chain.AddType(MakeInstance(i, "", i + 1));
  chain.AddItem(MakeInstance(5000, "", 1));
  log.Clear();
  EXPECT_FALSE(DescribeModel(chain).empty());
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
}

// Making nodes writes the tags of items, which nobody else reads meanwhile.
TEST(LiteVisualVisitor, BoxesMayBeMeasuredMeanwhile) {
  LiteModel model;
  FillWithGReps(model);
  const auto measure = [&model] {
    LiteBBoxVisitor visitor(model);
    for (const auto& item : model.GetItems())
      item->Apply(&visitor);
    return visitor.GetBox();
  };
  const AABoxT<double> expected = measure();
  const std::string tree = DescribeModel(model);
  RunThreads(4, [&](std::size_t t) {
    for (int k = 0; k < 20; ++k) {
      if (t == 0) {
        EXPECT_EQ(DescribeModel(model), tree);
      } else {
        const AABoxT<double> box = measure();
        EXPECT_EQ(box.GetMin(), expected.GetMin());
        EXPECT_EQ(box.GetMax(), expected.GetMax());
      }
    }
  });
}

}  // namespace
}  // namespace mirel

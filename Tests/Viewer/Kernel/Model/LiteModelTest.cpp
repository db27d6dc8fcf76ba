#include <Viewer/Kernel/Model/LiteModel.h>

#include <Viewer/Kernel/App/LiteBBoxVisitor.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <vector>

namespace mirel {
namespace {

/// Notes which overload was called with which item, and goes nowhere further.
class Recorder : public LiteModelVisitor {
 public:
  void Visit(GroupItem* item) override { Note("Group", *item); }
  void Visit(InstanceItem* item) override { Note("Instance", *item); }
  void Visit(ShapeItem* item) override { Note("Shape", *item); }
  std::string visits_;

 private:
  void Note(const char* kind, const LiteModelItem& item) { visits_ += kind + item.GetId().toString() + ' '; }
};

/// A leaf that says when it is destroyed.
class Mortal : public ShapeItem {
 public:
  explicit Mortal(int& alive) : alive_(alive) { ++alive_; }
  ~Mortal() override { --alive_; }

 private:
  int& alive_;
};

TEST(GroupItem, OwnsItsChildren) {
  int alive = 0;
  {
    GroupItem group;
    group.AddItem(std::make_unique<Mortal>(alive));
    std::vector<std::unique_ptr<LiteModelItem>> children;
    children.push_back(MakeShape(1, "", 0));
    children.push_back(std::make_unique<Mortal>(alive));
    EXPECT_EQ(alive, 2);
    group.SetChildren(std::move(children));
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(children.empty());  // NOLINT(bugprone-use-after-move): left empty is part of the contract
    group.SetChildren(
        std::move(const_cast<std::vector<std::unique_ptr<LiteModelItem>>&>(group.GetChildren())));
    EXPECT_EQ(group.GetChildren().size(), 2U) << "its own list changes nothing";
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(GroupItem, DestroysASubtreeOfAnyDepthWithoutRecursion) {
  int alive = 0;
  std::unique_ptr<LiteModelItem> item = MakeChain(300000, std::make_unique<Mortal>(alive));
  EXPECT_EQ(alive, 1);
  {
    LiteModel model;
    model.AddItem(MakeGroup(1, "", std::move(item), MakeGroup(2, "", std::make_unique<Mortal>(alive))));
    EXPECT_EQ(alive, 2);
  }
  EXPECT_EQ(alive, 0);
}

TEST(LiteModel, FindsWhatItStores) {
  LiteModel model;
  EXPECT_EQ(model.FindType(Id(1)), nullptr);
  EXPECT_EQ(model.FindShape(Id(1)), nullptr);
  EXPECT_EQ(model.FindGRepShape(Id(1)), nullptr);

  const std::shared_ptr<TopoShape> first = MakeBox(1, 1, 1);
  const std::shared_ptr<TopoShape> second = MakeBox(2, 2, 2);
  const ObjectId a = model.AddShape(first);
  const ObjectId b = model.AddShape(first);
  EXPECT_NE(a, b);
  model.AddShape(a, second);
  EXPECT_EQ(model.FindShape(a), second);
  EXPECT_EQ(model.FindShape(b), first);
  model.AddShape(Id(7), std::shared_ptr<TopoShape>());
  EXPECT_EQ(model.FindShape(Id(7)), nullptr);
  EXPECT_EQ(model.GetShape().size(), 3U) << "an empty pointer makes an entry";

  model.AddType(MakeGroup(5, "old"));
  model.AddType(MakeShape(5, "new", 0));
  model.AddType(nullptr);
  EXPECT_EQ(model.GetTypes().size(), 1U);
  EXPECT_EQ(model.FindType(Id(5))->GetName(), "new");
}

TEST(LiteModel, AppliesAVisitorToTopLevelItemsByTheirClassInOrder) {
  LiteModel model;
  model.AddType(MakeShape(9, "", 0));
  model.AddItem(MakeInstance(3, "", 9));
  model.AddItem(nullptr);
  model.AddItem(MakeGroup(1, "", MakeShape(4, "", 0)));
  model.AddItem(With<ShapeItem>(MakeShape(2, "", 0), [](ShapeItem& item) { item.SetType("Group"); }));
  Recorder recorder;
  model.Apply(&recorder);
  EXPECT_EQ(recorder.visits_, "Instance3 Group1 Shape2 ");
}

TEST(LiteModel, TiesShapesToTheGRepsOfTheSameId) {
  LiteModel model;
  const std::shared_ptr<TopoShape> a = MakeBox(1, 1, 1);
  const std::shared_ptr<TopoShape> b = MakeBox(2, 2, 2);
  const std::shared_ptr<GRepShape> grepB = MakeGRep(a);
  const std::shared_ptr<GRepShape> grepD = MakeGRep(a);
  const std::size_t triangles = grepB->GetMesh().GetTriangleCount();
  model.AddShape(Id(1), a);
  model.AddShape(Id(2), b);
  model.AddShape(Id(3), std::shared_ptr<TopoShape>());
  model.AddShape(Id(2), grepB);
  model.AddShape(Id(4), grepD);
  model.AddShape(Id(5), std::shared_ptr<GRepShape>());
  model.ApplyShape();
  EXPECT_EQ(grepB->GetShape(), b);
  EXPECT_EQ(grepD->GetShape(), a) << "no shape of its id";
  EXPECT_EQ(grepB->GetMesh().GetTriangleCount(), triangles);
  EXPECT_EQ(grepB->GetBoundingBox().GetMax(), glm::dvec3(1.0)) << "what is drawn stays";
  EXPECT_EQ(model.GetGRepShapes().size(), 3U);
}

TEST(LiteModel, ClearKeepsGRepsAndName) {
  LiteModel model;
  FillAssembly(model);
  model.SetName("name");
  model.AddShape(Id(10), MakeGRep(model.FindShape(Id(10))));
  model.Clear();
  EXPECT_TRUE(model.GetItems().empty() && model.GetTypes().empty() && model.GetShape().empty());
  EXPECT_TRUE(model.FindGRepShape(Id(10)));
  EXPECT_EQ(model.GetName(), "name");
}

TEST(ItemWalk, StopsOnceAtTheLimitOfItems) {
  LogCapture log;
  ItemWalk walk;
  const ShapeItem item;
  ShapeItem longName;
  longName.SetName(std::string(1000000, 'n'));
  const std::size_t kNameCounts = 977;
  for (int round = 0; round < 2; ++round) {  // each walk through a model has the whole number
    const ItemWalk::Model model;
    for (std::size_t i = 0; i < kMaxWalkItems - kNameCounts - 3; ++i) {
      if (!walk.CountItem(item)) FAIL() << "after " << i << " items";
    }
    EXPECT_TRUE(walk.CountItem(longName));
    EXPECT_TRUE(walk.CountItem(item, 64));
    EXPECT_TRUE(log.GetEntries().empty());
    for (int i = 0; i < 3; ++i)
      EXPECT_FALSE(walk.CountItem(item));
    EXPECT_EQ(log.GetTexts(3).size(), 1U);
    log.Clear();
  }
  EXPECT_TRUE(walk.CountItem(item));
}

// A visitor may be used again, for the same model or for single items.
TEST(ItemWalk, ALaterWalkOfAVisitorCountsFromTheBeginning) {
  LiteModel model;
  for (unsigned level = 0; level < 3; ++level) {
    auto group = MakeGroup(100 + level, "");
    for (unsigned i = 0; i < 150; ++i) {
      group->AddItem(level == 0 ? std::unique_ptr<LiteModelItem>(MakeGroup(1000 + i, ""))
                                : MakeInstance(1000 + i, "", 99 + level));
    }
    model.AddType(std::move(group));
  }
  model.AddItem(MakeInstance(1, "", 102));
  LogCapture log;
  LiteBBoxVisitor visitor(model);
  model.Apply(&visitor);
  model.Apply(&visitor);
  for (int i = 0; i < 2; ++i)
    model.GetItems()[0]->Apply(&visitor);
  EXPECT_TRUE(log.GetEntries().empty());
}

}  // namespace
}  // namespace mirel

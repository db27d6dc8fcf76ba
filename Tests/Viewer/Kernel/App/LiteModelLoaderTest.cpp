#include <Viewer/Kernel/App/LiteModelLoader.h>

#include <Viewer/Kernel/Host/Application/BaseApplication.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace mirel {
namespace {

const char* const kScene =
    R"({"Metadata":{"PkgShape":9,"PkgGRep":9},"Types":[],)"
    R"("Items":[{"Type":"Shape","Id":"1","SId":"10"},{"Type":"Shape","Id":"2","SId":"20"}]})";
const char* const kNodes = "G 0 \"\" (0 0 0)\n  B 1 \"\" (0 0 0) [-1 -1 -1]\n  B 2 \"\" (0 0 0) [-1 -1 -1]\n";

class LiteModelLoaderTest : public ::testing::Test {
 protected:
  LiteModelLoaderTest() {
    for (const unsigned id : {10U, 20U}) {
      const std::shared_ptr<TopoShape> box = MakeBox(id, 1, 1);
      shapes_.push_back(MakePackage({{id, ToText(box)}}));
      greps_.push_back(MakePackage({{id, ToRecord(MakeGRep(box))}}));
    }
  }
  static bool LoadData(LiteModelLoader& loader, const std::string& name, const std::string& piece) {
    // A copy that is gone when the call returns.
    const std::vector<char> bytes(piece.begin(), piece.end());
    return loader.LoadData(name, bytes.data(), static_cast<unsigned int>(bytes.size()));
  }
  void MakeViewer() {
    viewer_ = std::make_shared<Viewer>();
    application_ = std::make_unique<BaseApplication>();
    application_->SetActiveViewer(viewer_);
  }
  const std::vector<std::shared_ptr<SceneNode>>& Nodes() {
    return viewer_->GetContext()->GetScene()->GetNodes();
  }

  std::vector<std::string> shapes_;
  std::vector<std::string> greps_;
  std::shared_ptr<Viewer> viewer_;
  std::unique_ptr<BaseApplication> application_;
  LogCapture log_;
};

TEST_F(LiteModelLoaderTest, RefusesNamesThatAreNotItsOwn) {
  LiteModelLoader loader;
  for (const std::string name : {"Shape", "GRep", "scene", "Scenes", ""})
    EXPECT_FALSE(loader.LoadString(name, kScene)) << name;
  for (const std::string name : {"Scene", "shape", "Shapes", "Grep", ""})
    EXPECT_FALSE(LoadData(loader, name, greps_[0])) << name;
  EXPECT_TRUE(log_.GetEntries().empty());
  MakeViewer();
  EXPECT_TRUE(loader.End());
  EXPECT_EQ(DescribeNodes(*Nodes()[0]), "G 0 \"\" (0 0 0)\n")
      << "the model is unchanged, and an empty root is added";
}

TEST_F(LiteModelLoaderTest, AnyOrderOfThePiecesGivesTheSameScene) {
  MakeViewer();
  std::vector<int> order{0, 1, 2, 3, 4};
  int orders = 0;
  do {
    auto loader = std::make_unique<LiteModelLoader>();
    if (orders % 2 == 0) loader->Begin();  // which does nothing
    for (const int piece : order) {
      if (piece == 4) {
        EXPECT_TRUE(loader->LoadString("Scene", kScene));
      } else {
        const std::size_t n = static_cast<std::size_t>(piece) / 2;
        EXPECT_TRUE(piece % 2 ? LoadData(*loader, "Shape", shapes_[n])
                              : LoadData(*loader, "GRep", greps_[n]));
      }
    }
    EXPECT_TRUE(loader->End());
    loader.reset();  // the nodes outlive it
    ++orders;
    ASSERT_EQ(Nodes().size(), static_cast<std::size_t>(orders));
    EXPECT_EQ(DescribeNodes(*Nodes().back()), kNodes);
    for (const auto& node : dynamic_cast<GroupSceneNode&>(*Nodes().back()).GetNodes()) {
      EXPECT_TRUE(dynamic_cast<BrepSceneNode&>(*node).GetGRep()->GetShape());
    }
    EXPECT_EQ(static_cast<int>(viewer_->GetContext()->TakeUpdate()), 3);
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(orders, 120);
  EXPECT_TRUE(log_.GetEntries().empty());
}

TEST_F(LiteModelLoaderTest, HandsBackWhatTheReadersSay) {
  MakeViewer();
  LiteModelLoader loader;
  EXPECT_FALSE(loader.LoadString("Scene", "no JSON"));
  EXPECT_FALSE(loader.LoadString("Scene", R"({"Types":[]})"));
  EXPECT_FALSE(LoadData(loader, "GRep", MakePackage({})));
  EXPECT_FALSE(LoadData(loader, "Shape", ""));
  EXPECT_FALSE(loader.LoadData("Shape", nullptr, 0));
  EXPECT_TRUE(LoadData(loader, "Shape", MakePackage({{1, "no shape"}}))) << "a package with an item left out";
  EXPECT_EQ(log_.GetTexts(3), (std::vector<std::string>{"Failed to parse json content!", "Shape is null!"}));

  log_.Clear();
  EXPECT_TRUE(loader.LoadString("Scene", kScene) && loader.LoadString("Scene", kScene) && loader.End());
  ASSERT_EQ(Nodes().size(), 1U) << "a root, also without graphics";
  EXPECT_EQ(log_.Count(3, "Shape is null!"), 4) << "a second scene appends its items";
}

TEST_F(LiteModelLoaderTest, NeedsAnApplicationWithAViewer) {
  LiteModelLoader loader;
  EXPECT_TRUE(loader.LoadString("Scene", kScene));
  EXPECT_TRUE(LoadData(loader, "GRep", greps_[0]) && LoadData(loader, "GRep", greps_[1]));
  EXPECT_FALSE(loader.End());
  MakeViewer();
  application_->SetActiveViewer(nullptr);
  EXPECT_FALSE(loader.End());
  EXPECT_EQ(log_.GetTexts(3), (std::vector<std::string>{"Application is null!", "Viewer is null!"}));
  EXPECT_TRUE(log_.Contains("LiteModelLoader.cpp"));

  application_->SetActiveViewer(viewer_);
  EXPECT_TRUE(loader.End());
  EXPECT_TRUE(loader.End());
  ASSERT_EQ(Nodes().size(), 2U) << "the model stays, and each End adds its nodes anew";
  EXPECT_NE(Nodes()[0], Nodes()[1]);
  EXPECT_EQ(DescribeNodes(*Nodes()[0]), kNodes);
  EXPECT_EQ(DescribeNodes(*Nodes()[1]), kNodes);
}

}  // namespace
}  // namespace mirel

#include <Viewer/Kernel/App/ViewerKernelModule.h>

#include <Viewer/Kernel/App/LiteModelLoader.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/Host/View/Viewer.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

TEST(ViewerKernelModule, RegistersOnItsFirstCallOnly) {
  StreamModelLoaderFactory& factory = StreamModelLoaderFactory::Instance();
  EXPECT_TRUE(dynamic_cast<LiteModelLoader*>(factory.Create("Lite").get())) << "when it is loaded";
  const auto reader = SceneExchangeManager::Instance().FindReader("a/index.gz");
  EXPECT_TRUE(dynamic_cast<LiteSceneReader*>(reader.get()));
  RegisterViewerKernelModule();
  struct Other : LiteModelLoader {};
  factory.AddFactoryT<Other>("Lite");
  RunThreads(8, [](std::size_t) { RegisterViewerKernelModule(); });
  EXPECT_TRUE(dynamic_cast<Other*>(factory.Create("Lite").get()));
  EXPECT_EQ(SceneExchangeManager::Instance().GetReaders().size(), 1U);
  EXPECT_EQ(CommandManager::Instance().GetCommands().size(), 1U);
  factory.AddFactoryT<LiteModelLoader>("Lite");
}

class ImportLiteModelCommandTest : public ::testing::Test {
 protected:
  void TearDown() override { DialogUtil::SetOpenFileFunction(nullptr); }

  /// Runs the command while the dialog answers with this path.
  bool Run(const std::string& answer) {
    DialogUtil::SetOpenFileFunction([&](const std::string& name, const std::vector<std::string>& filters) {
      asked_ += name;
      for (const std::string& filter : filters)
        asked_ += "|" + filter;
      return Path(answer);
    });
    CommandContext context(&viewer_);
    return CommandManager::Instance().Find("ImportLiteModel")->Execute(&context);
  }
  const std::vector<std::shared_ptr<SceneNode>>& Nodes() {
    return viewer_.GetContext()->GetScene()->GetNodes();
  }

  Viewer viewer_;
  std::string asked_;
  LogCapture log_;
};

TEST_F(ImportLiteModelCommandTest, CancelledOrWithoutAViewerItChangesNothing) {
  EXPECT_FALSE(Run(""));
  EXPECT_EQ(asked_, "index.gz|Lite Model Files (.gz)|*.gz");
  EXPECT_TRUE(Nodes().empty());
  EXPECT_EQ(viewer_.GetContext()->TakeUpdate(), UpdateNone);
  EXPECT_TRUE(log_.GetEntries().empty());

  const std::shared_ptr<Command> command = CommandManager::Instance().Find("ImportLiteModel");
  CommandContext context(nullptr);
  EXPECT_FALSE(command->Execute(&context));
  EXPECT_FALSE(command->Execute(nullptr));
  EXPECT_EQ(log_.GetTexts(3), (std::vector<std::string>{"Viewer is null!", "Viewer is null!"}));
}

TEST_F(ImportLiteModelCommandTest, AddsTheChosenModelEachTime) {
  const TestFolder folder;
  LiteModel model;
  FillAssembly(model);
  LiteModelWriter(model).Save(folder.GetPath());
  for (std::size_t run = 1; run <= 2; ++run) {
    EXPECT_TRUE(Run(folder.GetPath() + "index.gz"));
    ASSERT_EQ(Nodes().size(), run);
    EXPECT_EQ(static_cast<int>(viewer_.GetContext()->TakeUpdate()), 3);
  }
  EXPECT_NE(Nodes()[0], Nodes()[1]);
  EXPECT_NE(DescribeNodes(*Nodes()[1]).find("Schraube"), std::string::npos);
  EXPECT_TRUE(Run(folder.GetPath())) << "a dialog may answer with the folder";
  EXPECT_EQ(Nodes().size(), 3U);
  EXPECT_TRUE(Run("missing/index.gz")) << "the reader has reported it";
  EXPECT_EQ(Nodes().size(), 3U);
  EXPECT_EQ(log_.GetTexts(3), std::vector<std::string>{"Buffer is null!"});
}

}  // namespace
}  // namespace mirel

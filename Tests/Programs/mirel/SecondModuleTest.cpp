#include <Programs/mirel/View/ModuleLibrary.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/Host/View/Viewer.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

// Another text of the same length, in the place of the first one's only occurrence.
void Replace(std::string& bytes, const std::string& from, const std::string& to) {
  ASSERT_EQ(from.size(), to.size());
  const std::size_t place = bytes.find(from);
  ASSERT_NE(place, std::string::npos) << from;
  bytes.replace(place, from.size(), to);
  EXPECT_EQ(bytes.find(from), std::string::npos) << from;
}

// The second build is a copy of the first one's file with other messages in it, so what is logged tells which of
// them runs. Both export the same names, and this program is linked to the first.
TEST(SecondModule, IsWhatRunsAndRunsItsOwnCode) {
  const TestFolder folder;
  LiteModel model;
  LiteModelWriter(model).Save(folder.GetPath() + "model/");
  const std::string index = folder.GetPath() + "model/index.gz";

  std::string bytes = ReadFile(MIREL_MODULE);
  Replace(bytes, "Loading GRep...", "Loading grep!!!");
  Replace(bytes, "Failed to parse json content!", "FAILED TO PARSE JSON CONTENT!");
  const std::string copy = folder.GetPath() + "second.so";
  WriteFile(copy, bytes);
  const ModuleLibrary second(copy);
  ASSERT_EQ(second.GetError(), "");
  EXPECT_TRUE(second.IsRegistered());
  EXPECT_FALSE(ModuleLibrary(MIREL_HOST_LIBRARY).IsRegistered());

  LogCapture log;
  EXPECT_TRUE(SceneExchangeManager::Instance().FindReader(index)->Load(index, nullptr));
  EXPECT_EQ(log.Count(2, "Loading grep!!!"), 1);
  EXPECT_EQ(log.Count(2, "Loading GRep..."), 0);

  log.Clear();
  EXPECT_EQ(CommandManager::Instance().GetCommands().size(), 1u) << "replaced, not added";
  Viewer viewer;
  CommandContext context(&viewer);
  DialogUtil::SetOpenFileFunction(
      [&](const std::string&, const std::vector<std::string>&) { return Path(index); });
  EXPECT_TRUE(CommandManager::Instance().Find("ImportLiteModel")->Execute(&context));
  DialogUtil::SetOpenFileFunction(nullptr);
  EXPECT_EQ(viewer.GetContext()->GetScene()->GetNodes().size(), 1u);
  EXPECT_EQ(log.Count(2, "Loading grep!!!"), 1);

  log.Clear();
  EXPECT_FALSE(StreamModelLoaderFactory::Instance().Create("Lite")->LoadString("Scene", "no JSON"));
  EXPECT_EQ(log.Count(3, "FAILED TO PARSE JSON CONTENT!"), 1);
  EXPECT_EQ(log.Count(3, "Failed to parse json content!"), 0);

  // The first one still runs for whoever names its classes.
  log.Clear();
  EXPECT_FALSE(LiteModelReader(model).Load("no JSON"));
  EXPECT_EQ(log.Count(3, "Failed to parse json content!"), 1);
}

}  // namespace
}  // namespace mirel

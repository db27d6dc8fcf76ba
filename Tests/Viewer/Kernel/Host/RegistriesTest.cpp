#include <Viewer/Kernel/Host/Application/BaseApplication.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Core/Path.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/Host/View/ViewContext.h>

#include <Tests/Support/RunThreads.h>

#include <gtest/gtest.h>

#include <set>

namespace mirel {
namespace {

/// Supports one extension and reads nothing.
class OneExtensionReader : public SceneReader {
 public:
  explicit OneExtensionReader(std::string extension) : extension_(std::move(extension)) {}
  using SceneReader::Load;
  std::shared_ptr<SceneNode> Load(const Path&, MaterialInstance*) override { return nullptr; }
  std::shared_ptr<SceneNode> Load(const std::string&, MaterialInstance*) override { return nullptr; }
  std::shared_ptr<SceneNode> Load(const std::wstring&, MaterialInstance*) override { return nullptr; }
  void ListFormats(std::map<std::string, std::string>&) override {}
  bool Support(std::string extension) const override { return extension == extension_; }

 private:
  std::string extension_;
};

class NamedCommand : public Command {
 public:
  explicit NamedCommand(const std::string& name) { SetName(name); }
  bool Execute(CommandContext*) override { return true; }
};

class NamedLoader : public StreamModelLoader {
 public:
  void Begin() override {}
  bool End() override { return false; }
  bool LoadData(const std::string&, const char*, unsigned int) override { return false; }
  bool LoadString(const std::string&, const std::string&) override { return false; }
};
class OtherLoader : public NamedLoader {};

TEST(SceneExchangeManager, FindsTheLatestReaderOfAnExtension) {
  SceneExchangeManager& manager = SceneExchangeManager::Instance();
  const std::size_t before = manager.GetReaders().size();
  const auto first = std::make_shared<OneExtensionReader>(".t1");
  const auto other = std::make_shared<OneExtensionReader>(".t2");
  const auto second = std::make_shared<OneExtensionReader>(".t1");
  const auto plain = std::make_shared<OneExtensionReader>("");
  for (const auto& reader : {first, other, second, plain, first})
    manager.AddReader(reader);
  manager.AddReader(nullptr);
  EXPECT_EQ(manager.GetReaders().size(), before + 4);

  EXPECT_EQ(manager.FindReader("a.b/model.t1"), second);
  EXPECT_EQ(manager.FindReader("model.old.t2"), other);
  EXPECT_EQ(manager.FindReader(".t2"), other);
  EXPECT_EQ(manager.FindReader("a.t1/model"), plain) << "a dot in the folder's name is no extension";
  EXPECT_EQ(manager.FindReader("model.T1"), nullptr) << "as it is written";
  EXPECT_EQ(manager.FindReader("model.t1/model."), nullptr);
}

TEST(CommandManager, HoldsOneCommandOfEachName) {
  CommandManager& manager = CommandManager::Instance();
  const std::size_t before = manager.GetCommands().size();
  manager.Register(std::make_shared<NamedCommand>("A"));
  manager.Register(std::make_shared<NamedCommand>("B"));
  const auto newer = std::make_shared<NamedCommand>("A");
  manager.Register(newer);
  manager.Register(nullptr);
  const std::vector<std::shared_ptr<Command>> commands = manager.GetCommands();
  ASSERT_EQ(commands.size(), before + 2);
  EXPECT_EQ(commands[before], newer) << "replaced in its place";
  EXPECT_EQ(manager.Find("A"), newer);
  EXPECT_EQ(manager.Find("a"), nullptr);
  EXPECT_TRUE(manager.Find("A")->BatchRun(nullptr)) << "runs it as Execute does";
  EXPECT_EQ(manager.Find("A")->GetUIName(), "A");
}

TEST(StreamModelLoaderFactory, HoldsOneCreatorOfEachName) {
  StreamModelLoaderFactory& factory = StreamModelLoaderFactory::Instance();
  const std::size_t before = factory.GetKeys().size();
  EXPECT_EQ(factory.Create("Test"), nullptr);
  factory.AddFactoryT<NamedLoader>("Test");
  EXPECT_TRUE(factory.Create("Test"));
  EXPECT_EQ(factory.Create("test"), nullptr);
  factory.AddFactoryT<OtherLoader>("Test");
  EXPECT_TRUE(dynamic_cast<OtherLoader*>(factory.Create("Test").get())) << "replaced";
  EXPECT_EQ(factory.GetKeys().size(), before + 1);
}

TEST(StreamModelLoaderFactory, TakesCreatorsFromManyThreads) {
  StreamModelLoaderFactory& factory = StreamModelLoaderFactory::Instance();
  RunThreads(8, [&](std::size_t t) {
    for (std::size_t i = 0; i < 200; ++i) {
      factory.AddFactoryT<NamedLoader>("Thread" + std::to_string((t + i) % 4));
      factory.Create("Thread0");
    }
  });
  EXPECT_TRUE(factory.Create("Thread3"));
}

TEST(SceneTree, IgnoresEmptyPointers) {
  GroupSceneNode group;
  group.AddNode(nullptr);
  EXPECT_TRUE(group.GetNodes().empty());
  Scene scene;
  EXPECT_EQ(scene.AddNode(nullptr), 0U);
  EXPECT_TRUE(scene.GetNodes().empty());
}

TEST(GfxObject, NumbersDifferAcrossThreads) {
  std::vector<std::vector<unsigned int>> drawn(8);
  RunThreads(8, [&](std::size_t t) {
    for (int i = 0; i < 1000; ++i)
      drawn[t].push_back(GroupSceneNode().GetUuid());
  });
  std::set<unsigned int> distinct{0};
  for (const std::vector<unsigned int>& numbers : drawn)
    distinct.insert(numbers.begin(), numbers.end());
  EXPECT_EQ(distinct.size(), 8001U);
}

TEST(ViewContext, UpdateFlagsAddUpUntilTaken) {
  ViewContext context;
  context.RequestUpdate(UpdateScene);
  context.RequestUpdate(UpdateView);
  EXPECT_EQ(context.TakeUpdate(), UpdateAll);
  EXPECT_EQ(context.TakeUpdate(), UpdateNone);
}

TEST(BaseApplication, TheLatestOneRuns) {
  EXPECT_EQ(BaseApplication::Get(), nullptr);
  {
    const BaseApplication first;
    EXPECT_EQ(BaseApplication::Get(), &first);
    {
      const BaseApplication second;
      EXPECT_EQ(BaseApplication::Get(), &second);
    }
    EXPECT_EQ(BaseApplication::Get(), nullptr);
  }
  EXPECT_EQ(BaseApplication::Get(), nullptr);
}

}  // namespace
}  // namespace mirel

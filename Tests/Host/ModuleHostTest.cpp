#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/TreeVerb.h>
#include <Programs/mirel/View/CommandsVerb.h>
#include <Programs/mirel/View/ModuleLibrary.h>
#include <Programs/mirel/View/RunVerb.h>
#include <Programs/mirel/View/StreamVerb.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <Tests/Support/TestFolder.h>

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

namespace mirel {
namespace {

// ctest runs each test in a process of its own, where the module is not loaded before the test does it. Run all in
// one process, only the first test sees a host without it.

void ExpectEachThingOnce() {
  EXPECT_EQ(StreamModelLoaderFactory::Instance().GetKeys(), std::vector<std::string>{"Lite"});
  EXPECT_TRUE(StreamModelLoaderFactory::Instance().Create("Lite"));
  const auto commands = CommandManager::Instance().GetCommands();
  ASSERT_EQ(commands.size(), 1U);
  EXPECT_EQ(commands[0]->GetName(), "ImportLiteModel");
  const auto readers = SceneExchangeManager::Instance().GetReaders();
  ASSERT_EQ(readers.size(), 1U);
  EXPECT_EQ(SceneExchangeManager::Instance().FindReader("x/index.gz"), readers[0]);
}

TEST(ModuleHost, FindsWhatTheModuleRegistersOnceHoweverOftenItIsLoaded) {
  std::atomic<int> waiting{8};
  std::atomic<int> loaded{0};
  std::vector<std::thread> threads;
  for (int i = waiting; i > 0; --i) {
    threads.emplace_back([&] {
      --waiting;
      while (waiting > 0) {
        std::this_thread::yield();
      }
      const ModuleLibrary library(MIREL_MODULE);
      loaded += library.GetError().empty() && library.IsRegistered() ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(loaded, 8);
  ExpectEachThingOnce();

  EXPECT_EQ(ModuleLibrary(MIREL_MODULE).GetError(), "");
  const TestFolder folder;
  std::error_code failure;
  std::filesystem::create_symlink(MIREL_MODULE, folder.GetFsPath() / "link.so", failure);
  if (!failure) {
    EXPECT_EQ(ModuleLibrary(folder.GetPath() + "link.so").GetError(), "");
  }
  ExpectEachThingOnce();
}

TEST(ModuleHost, SaysWhyALibraryIsNotLoaded) {
  const TestFolder folder;
  const std::string name = std::string(MIREL_MODULE).substr(std::string(MIREL_MODULE).rfind('/') + 1);
  EXPECT_EQ(ModuleLibrary(name).GetError(), "no such file") << "a path, not a name to search for";
  EXPECT_NE(ModuleLibrary(folder.GetPath()).GetError(), "");
  const std::string cut = folder.GetPath() + "cut.so";
  const std::string module = ReadFile(MIREL_MODULE);
  for (const std::size_t length : {std::size_t{4}, std::size_t{64}, std::size_t{4096}, std::size_t{65536}}) {
    WriteFile(cut, module.substr(0, length));
    const std::string reason = ModuleLibrary(cut).GetError();
    EXPECT_NE(reason, "") << length;
    EXPECT_EQ(reason.find(cut), std::string::npos) << "whoever asks knows the path";
    std::filesystem::remove(std::filesystem::u8path(cut));  // never shorten a file that may be mapped
  }

  const ModuleLibrary host(MIREL_HOST_LIBRARY);
  EXPECT_EQ(host.GetError(), "");
  EXPECT_TRUE(ModuleLibrary(MIREL_MODULE).IsRegistered());
  EXPECT_FALSE(host.IsRegistered());
}

class ModuleHostVerbs : public ::testing::Test {
 protected:
  ModuleHostVerbs() {
    WriteGzip(folder_.GetPath() + "index.gz",
              R"({"Types":[],"Items":[{"Type":"Group","Id":"5","Name":"Rad","Children":[]}]})");
  }

  /// Runs a verb in this host and returns its exit code; what it printed is in `out_` and `err_`.
  template <class VerbType>
  int Run(std::vector<std::string> arguments) {
    CLI::App app;
    VerbType verb;
    verb.Declare(app);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 takes them
    app.parse(arguments);
    Console console({});
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ExitCode code = verb.Run(console);
    out_ = testing::internal::GetCapturedStdout();
    err_ = testing::internal::GetCapturedStderr();
    return static_cast<int>(code);
  }

  const TestFolder folder_;
  std::string out_;
  std::string err_;
};

TEST_F(ModuleHostVerbs, OpenAFolderThroughTheRegistriesAlone) {
  EXPECT_EQ(Run<TreeVerb>({"tree", folder_.GetPath(), "--module", MIREL_MODULE}), 0);
  EXPECT_EQ(out_, "group \"Rad\" id 5\n");
  EXPECT_EQ(Run<StreamVerb>({"stream", folder_.GetPath(), "--module", MIREL_MODULE}), 0);
  EXPECT_EQ(out_, "group \"Rad\" id 5\n");
  EXPECT_EQ(Run<RunVerb>({"run", "ImportLiteModel", "--module", MIREL_MODULE, "--file",
                          folder_.GetPath() + "index.gz"}),
            0);
  EXPECT_EQ(out_, "group \"Rad\" id 5\n");
  EXPECT_EQ(err_, "");
}

TEST_F(ModuleHostVerbs, SayThatNothingIsRegistered) {
  if (!CommandManager::Instance().GetCommands().empty()) {
    GTEST_SKIP() << "another test has loaded the module into this process";
  }
  EXPECT_EQ(Run<TreeVerb>({"tree", folder_.GetPath()}), 2);
  EXPECT_NE(err_.find("no reader is registered"), std::string::npos) << err_;
  EXPECT_EQ(Run<StreamVerb>({"stream", folder_.GetPath()}), 2);
  EXPECT_NE(err_.find("no stream loader \"Lite\" is registered"), std::string::npos) << err_;
  EXPECT_EQ(Run<RunVerb>({"run", "ImportLiteModel"}), 1);
  EXPECT_NE(err_.find("registered are: none"), std::string::npos) << err_;
  EXPECT_EQ(Run<CommandsVerb>({"commands"}), 0);
  EXPECT_EQ(out_, "commands\nreaders\nloaders\n");
}

}  // namespace
}  // namespace mirel

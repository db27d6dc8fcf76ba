#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Tests/Support/ChildRun.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// A program that saves a model into a folder, and what the folder may hold at any moment.
class InterruptedSave : public ::testing::Test {
 protected:
  std::vector<std::string> Command(int boxes, const std::string& folder) const {
    return {MIREL_SAVE_BOXES, folder, std::to_string(boxes)};
  }
  /// An older model with more packages than the new one, and with checksums, and files of somebody else. Its graphics lie
  /// on another disk where there is one.
  void MakeOld() {
    if (older_.ListFiles().empty()) {
      ASSERT_TRUE(RunProgram(Command(2, older_.GetPath())).Succeeded());
      for (const char* const name : {"model/2.gz", "model/10.gz", "grep/2.gz", "SHA256SUMS"})
        WriteFile(older_.GetPath() + name, name);
      for (const std::string& name : foreign_)
        WriteFile(older_.GetPath() + name, name);
      std::string index = Inflate(older_.GetPath() + "index.gz");
      const std::string counts = R"("PkgShape":1,"PkgGRep":1)";
      index.replace(index.find(counts), counts.size(), R"("PkgShape":10,"PkgGRep":2)");
      WriteGzip(older_.GetPath() + "index.gz", index);
    }
    fs::remove_all(folder_.GetFsPath());
    fs::remove_all(disk_.GetFsPath());
    fs::create_directories(disk_.GetFsPath());
    fs::create_directories(folder_.GetFsPath());
    fs::create_directory_symlink(disk_.GetFsPath(), folder_.GetFsPath() / "grep");
    for (const auto& [name, content] : ReadFiles(older_.GetPath())) {
      fs::create_directories(fs::u8path(path_ + name).parent_path());
      WriteFile(path_ + name, content);
    }
  }
  const std::vector<std::string> foreign_{"model/02.gz", "model/2024.gz", "grep/3.gz", "notes.txt"};

  const TestFolder older_;
  const TestFolder folder_;
  const TestFolder disk_{"/dev/shm"};
  const std::string path_ = folder_.GetPath();
};

TEST_F(InterruptedSave, KilledAnywhereItLeavesTheOldModelTheNewOneOrNone) {
  if (!CanTrace()) GTEST_SKIP() << "skipped: cannot watch a process here";
  MakeOld();
  const FileContents old = ReadFiles(path_);
  const TestFolder other;
  ASSERT_TRUE(RunProgram(Command(3, other.GetPath())).Succeeded());
  FileContents saved = ReadFiles(other.GetPath());
  for (const std::string& name : foreign_)
    saved[name] = old.at(name);

  int asOld = 0;
  int asNew = 0;
  int refused = 0;
  for (unsigned int step = 0;; ++step) {
    SCOPED_TRACE(step);
    MakeOld();
    const ChildRun run = RunUntil(step, Command(3, path_));
    if (!run.killed) {
      ASSERT_TRUE(run.Succeeded());
      break;
    }
    ASSERT_LT(step, 200U);
    const FileContents found = WithoutHidden(ReadFiles(path_));
    asOld += found == old;
    asNew += found == saved;
    if (found != old && found != saved) {
      ++refused;
      LogCapture log;
      EXPECT_EQ(LiteSceneReader().Load(path_ + "index.gz", nullptr), nullptr);
      EXPECT_TRUE(log.Contains("Cannot read " + path_ + "index.gz: "));
      EXPECT_EQ(log.Count(3, "Buffer is null!"), 1);
    }
    ASSERT_TRUE(RunProgram(Command(3, path_)).Succeeded());
    EXPECT_TRUE(ReadFiles(path_) == saved) << "the next save is whole, and nothing is left lying about";
  }
  EXPECT_GE(asOld, 10) << "all the time until every file is there";
  EXPECT_GE(asNew, 1);
  EXPECT_GE(refused, 5) << "while five files are moved";
}

// A model whose packages are someone else's would be missing some, or hold boxes of two sizes.
TEST_F(InterruptedSave, TwoAtOnceDoNotMixTheirFiles) {
  std::vector<FileContents> possible;
  for (const int boxes : {2, 3}) {
    const TestFolder other;
    ASSERT_TRUE(RunProgram(Command(boxes, other.GetPath())).Succeeded());
    possible.push_back(ReadFiles(other.GetPath()));
  }
  int models = 0;
  for (int round = 0; round < 12; ++round) {
    std::vector<int> processes;
    for (const int boxes : {2, 3, 2, 3}) {
      std::vector<std::string> command = Command(boxes, path_);
      command.emplace_back("5");
      processes.push_back(StartProgram(command));
    }
    for (const int process : processes)
      EXPECT_TRUE(WaitFor(process).Succeeded());
    const FileContents found = ReadFiles(path_);
    models += found.count("index.gz") > 0;
    ASSERT_TRUE(found.count("index.gz") == 0 || found == possible[0] || found == possible[1]) << round;
  }
  EXPECT_GE(models, 6) << "most rounds";
}

}  // namespace
}  // namespace mirel

#endif

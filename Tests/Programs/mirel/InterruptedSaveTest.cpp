#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// `mirel save` of two sources that differ in a name, and so in all ids, and in a box.
class InterruptedProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string step = ReadFile(MIREL_SAMPLE);
    WriteFile(path_ + "new.step", step);
    for (std::size_t at = 0; (at = step.find("Schublade", at)) != std::string::npos;)
      step.replace(at, 9, "Fach");
    WriteFile(path_ + "old.step", step);
    for (const char* const name : {"old", "new"})
      ASSERT_TRUE(RunProgram(Save(name, name)).Succeeded());
    old_ = ReadFiles(path_ + "old");
    new_ = ReadFiles(path_ + "new");
    ASSERT_NE(old_.at("index.gz"), new_.at("index.gz"));
  }
  std::vector<std::string> Save(const std::string& source, const std::string& folder) const {
    return {MIREL_PROGRAM, "save", "--force", path_ + source + ".step", path_ + folder};
  }
  void MakeOldTarget() {
    fs::remove_all(folder_.GetFsPath() / "target");
    fs::copy(folder_.GetFsPath() / "old", folder_.GetFsPath() / "target", fs::copy_options::recursive);
  }
  /// The names beside the target.
  std::vector<std::string> List() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.GetFsPath()))
      names.push_back(entry.path().filename().u8string());
    std::sort(names.begin(), names.end());
    return names;
  }
  const std::vector<std::string> clean_{"new", "new.step", "old", "old.step", "target"};

  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  FileContents old_;
  FileContents new_;
};

TEST_F(InterruptedProgram, KilledAnywhereItLeavesTheOldFolderOrTheNewOne) {
  if (!CanTrace()) GTEST_SKIP() << "skipped: cannot watch a process here";
  int asOld = 0;
  int leftovers = 0;
  for (unsigned int step = 0;; ++step) {
    SCOPED_TRACE(step);
    MakeOldTarget();
    const ChildRun run = RunUntil(step, Save("new", "target"));
    const FileContents found = ReadFiles(path_ + "target");
    asOld += found == old_;
    EXPECT_TRUE(found == old_ || found == new_);
    if (!run.killed) {
      ASSERT_TRUE(run.Succeeded());
      EXPECT_TRUE(found == new_);
      break;
    }
    ASSERT_LT(step, 200U);
    leftovers += List() != clean_;
  }
  EXPECT_EQ(List(), clean_) << "each save has removed what the one before left";
  EXPECT_GE(asOld, 10);
  EXPECT_GE(leftovers, 15);
}

TEST_F(InterruptedProgram, WhereThereWasNothingAKilledSaveLeavesNothingUnderTheName) {
  if (!CanTrace()) GTEST_SKIP() << "skipped: cannot watch a process here";
  for (unsigned int step = 0;; step += 3) {
    SCOPED_TRACE(step);
    const ChildRun run = RunUntil(step, Save("new", "target"));
    if (!run.killed) break;
    EXPECT_TRUE(!fs::exists(folder_.GetFsPath() / "target") || ReadFiles(path_ + "target") == new_);
    fs::remove_all(folder_.GetFsPath() / "target");
  }
  EXPECT_EQ(List(), clean_);
}

TEST_F(InterruptedProgram, ManyAtOnceLeaveOneWholeFolder) {
  for (const bool there : {true, false}) {
    MakeOldTarget();
    if (!there) fs::remove_all(folder_.GetFsPath() / "target");
    std::vector<int> processes;
    processes.reserve(5);
    for (int i = 0; i < 5; ++i)
      processes.push_back(StartProgram(Save(i % 2 ? "old" : "new", "target")));
    for (const int process : processes)
      EXPECT_EQ(WaitFor(process).exitCode, 0);
    const FileContents found = ReadFiles(path_ + "target");
    EXPECT_TRUE(found == old_ || found == new_);
    EXPECT_EQ(List(), clean_);
  }
}

}  // namespace
}  // namespace mirel

#endif

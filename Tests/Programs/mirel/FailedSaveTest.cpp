#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <filesystem>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// `mirel save` where it cannot save: exit code 3, a message with path and reason, and nothing changed.
class FailedProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteFile(path_ + "small.brep",
              "DBRep_DrawableShape\n\nCASCADE Topology V3, (c) Open Cascade\nLocations 0\n"
              "Curve2ds 0\nCurves 0\nPolygon3D 0\nPolygonOnTriangulations 0\nSurfaces 0\n"
              "Triangulations 0\n\nTShapes 1\nVe\n1e-07\n1 2 3\n0 0\n\n0101101\n*\n\n+1 0\n");
  }
  ChildRun Save(const std::string& source, const std::string& target,
                const std::function<void()>& prepare = nullptr) const {
    return RunProgram({MIREL_PROGRAM, "save", "--force", source, target}, prepare);
  }
  /// Expects that nothing comes of a save.
  void ExpectFailure(const std::string& target, const char* reason,
                     const std::function<void()>& prepare = nullptr) const {
    const FileContents before = ReadFiles(path_);
    const ChildRun run = Save(MIREL_SAMPLE, target, prepare);
    EXPECT_EQ(run.exitCode, 3) << run.output;
    EXPECT_NE(run.output.find("mirel: " + target), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(reason), std::string::npos) << run.output;
    EXPECT_TRUE(ReadFiles(path_) == before);
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.GetFsPath()))
      EXPECT_NE(entry.path().filename().u8string()[0], '.') << entry.path();
  }

  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  const std::string target_ = path_ + "target";
};

TEST_F(FailedProgram, OnAFullDisk) {
  if (!CanMount()) GTEST_SKIP() << "skipped: cannot mount a small disk here";
  EXPECT_TRUE(RunInChild([&] {
    const std::string small = path_ + "small.brep";
    const std::string text = ReadFile(small);
    MountSmallDisk(path_);
    WriteFile(small, text);
    ASSERT_EQ(Save(small, target_).exitCode, 0);
    for (unsigned int blocks = 0;; ++blocks) {
      SCOPED_TRACE(blocks);
      ASSERT_LT(blocks, 50U);
      FillDisk(path_, blocks);
      if (blocks > 10 && Save(MIREL_SAMPLE, target_).exitCode == 0) break;
      ExpectFailure(target_, "No space left on device");
      if (HasFailure()) return;
    }
    const FileContents found = ReadFiles(target_);
    fs::remove(fs::u8path(path_ + "ballast"));
    ASSERT_EQ(Save(MIREL_SAMPLE, target_).exitCode, 0);
    EXPECT_TRUE(ReadFiles(target_) == found) << "what was saved into the last blocks is whole";

    MakeDiskReadOnly(path_);
    ExpectFailure(target_, "Read-only file system");
    ExpectFailure(path_ + "other", "Read-only file system");
  }));
}

TEST_F(FailedProgram, BeyondTheLimitOfAFile) {
  ASSERT_EQ(Save(path_ + "small.brep", target_).exitCode, 0);
  for (const std::uint64_t limit : {0, 1, 1000, 20000})
    ExpectFailure(target_, "File too large", [=] { LimitFileSize(limit); });
}

TEST_F(FailedProgram, WhereItMayNotOrCannotWrite) {
  ASSERT_EQ(Save(path_ + "small.brep", target_).exitCode, 0);
  fs::permissions(folder_.GetFsPath(), fs::perms::owner_read | fs::perms::owner_exec);
  ExpectFailure(target_, "Permission denied", ObeyPermissions);
  ExpectFailure(path_ + "other", "Permission denied", ObeyPermissions);
  ExpectFailure(path_ + "a/b", "Permission denied", ObeyPermissions);
  fs::permissions(folder_.GetFsPath(), fs::perms::owner_all);

  ExpectFailure(path_ + "small.brep", "is a file, not a folder");
  ExpectFailure(path_ + "small.brep/target", "parent folder cannot be made: Not a directory");
  ExpectFailure(path_ + std::string(300, 'n'), "File name too long");
  fs::create_directories(fs::u8path(target_ + "/model/2.gz"));
  ExpectFailure(target_, "\"model/2.gz\", which does not belong to a model folder");
  fs::remove(fs::u8path(target_ + "/index.gz"));
  fs::create_directories(fs::u8path(target_ + "/index.gz"));
  ExpectFailure(target_, "not a model folder");
}

// A folder is replaced as a whole, and then deleted with all that it holds: what forbids one of these is found before the work.
TEST_F(FailedProgram, OverWhatItCannotReplace) {
  ASSERT_EQ(Save(path_ + "small.brep", target_).exitCode, 0);
  for (const char* const inside : {"/sub", "/a/b", "/model/sub"})
    ExpectFailure(target_ + inside, "would lie inside the model folder");

  WriteFile(target_ + "/model/2024.gz", "not counted by the index");
  ExpectFailure(target_, "holds \"model/2024.gz\", which does not belong to a model folder");
  fs::remove(fs::u8path(target_ + "/model/2024.gz"));

  const fs::path model = fs::u8path(target_ + "/model");
  fs::permissions(model, fs::perms::owner_read | fs::perms::owner_exec);
  ExpectFailure(target_, "its folder \"model\" may not be emptied: Permission denied", ObeyPermissions);
  fs::permissions(model, fs::perms::owner_all);

  const char* const isElsewhere = "its folder \"model\" is a link or a mount";
  if (CanMount()) {
    EXPECT_TRUE(RunInChild([&] {
      MountSmallDisk(model.u8string());
      ExpectFailure(target_, isElsewhere);
    }));
  }
  fs::rename(model, fs::u8path(path_ + "moved"));
  fs::create_directory_symlink(path_ + "moved", model);
  ExpectFailure(target_, isElsewhere);
  fs::remove(model);

  // What an older save of somebody else has left there is met too late to refuse.
  const fs::path left = fs::u8path(target_ + "/.mirel-7");
  fs::create_directory(left);
  WriteFile(left.u8string() + "/1.gz", "somebody else's");
  fs::permissions(left, fs::perms::owner_read | fs::perms::owner_exec);
  const ChildRun run = Save(MIREL_SAMPLE, target_, ObeyPermissions);
  EXPECT_EQ(run.exitCode, 0) << run.output;
  const std::string said = "is replaced but cannot be removed: " + path_ + ".mirel-";
  EXPECT_NE(run.output.find(said), std::string::npos) << run.output;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_.GetFsPath())) {
    if (entry.path().filename().u8string()[0] == '.')
      fs::permissions(entry.path() / ".mirel-7", fs::perms::owner_all);
  }
  EXPECT_EQ(Save(MIREL_SAMPLE, target_).exitCode, 0);
  EXPECT_EQ(folder_.ListFiles().find(".mirel-"), std::string::npos) << "the next save removes it";
}

// Its files have longer names than the folder: which of them no longer fit is found when they are written.
TEST_F(FailedProgram, WherePathsGrowTooLong) {
  std::string parent = path_;
  while (parent.size() < 4096 - 60)
    parent += std::string(std::min<std::size_t>(200, 4096 - 60 - parent.size()), 'd') + "/";
  fs::create_directories(fs::u8path(parent));
  int failures = 0;
  for (std::size_t length = 1; length < 60; length += 3) {
    const std::string target = parent + std::string(length, 't');
    const ChildRun run = Save(path_ + "small.brep", target);
    failures += run.exitCode == 3;
    EXPECT_TRUE(run.exitCode == 0 || run.output.find("File name too long") != std::string::npos)
        << run.output;
    std::error_code error;
    EXPECT_EQ(fs::exists(fs::u8path(target), error), run.exitCode == 0);
    fs::remove_all(fs::u8path(target), error);
    EXPECT_TRUE(fs::is_empty(fs::u8path(parent))) << length;
  }
  EXPECT_GE(failures, 1);
}

}  // namespace
}  // namespace mirel

#endif

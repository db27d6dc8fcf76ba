#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Support/ChildRun.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

namespace fs = std::filesystem;

TEST(FailedSave, WhatIsInTheWayStaysAndIsNamed) {
  const struct {
    std::string place;
    bool isFolder;
    std::string before, after;  // of its path in the message
  } cases[] = {
      {"model/1.gz", true, "", " is in the way: it is not a file"},
      {"index.gz", true, "", " is in the way: it is not a file"},
      {"grep", false, "Cannot create folder ", "/: "},
  };
  for (const auto& [place, isFolder, before, after] : cases) {
    SCOPED_TRACE(place);
    const TestFolder folder;
    const std::string path = folder.GetPath() + place;
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter(model).Save(folder.GetPath());
    fs::remove_all(fs::u8path(path));
    if (isFolder) fs::create_directories(fs::u8path(path));
    WriteFile(path + (isFolder ? "/notes.txt" : ""), "precious");
    const FileContents files = ReadFiles(folder.GetPath());
    LogCapture log;
    LiteModelWriter(model).Save(folder.GetPath());
    EXPECT_TRUE(log.Contains(before + path + after)) << ::testing::PrintToString(log.GetTexts(3));
    EXPECT_TRUE(ReadFiles(folder.GetPath()) == files);
  }
}

TEST(FailedSave, WhereNothingWasNothingIsLeft) {
  const TestFolder folder;
  WriteFile(folder.GetPath() + "file", "x");
  for (const std::string& name : {std::string("file/below/"), std::string(300, 'n') + "/"}) {
    LogCapture log;
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter(model).Save(folder.GetPath() + name);
    EXPECT_TRUE(log.Contains("Cannot create folder " + folder.GetPath() + name + ": "));
  }
  EXPECT_EQ(folder.ListFiles(), "file");
  EXPECT_EQ(ReadFile(folder.GetPath() + "file"), "x");
}

// Without a separator at its end the path is the beginning of the files' names, and the folder of its name is made as well.
TEST(FailedSave, APathWithoutSeparatorKeepsItsEmptyFolder) {
  const TestFolder folder;
  LiteModel model;
  FillAssembly(model);
  for (int times = 0; times < 2; ++times) {
    LogCapture log;
    LiteModelWriter(model).Save(folder.GetPath() + "car");
    EXPECT_TRUE(log.GetTexts(3).empty());
    EXPECT_EQ(folder.ListFiles(), "cargrep/1.gz carindex.gz carmodel/1.gz");
    EXPECT_TRUE(fs::is_directory(fs::u8path(folder.GetPath() + "car")));
  }
  // A save that fails removes what it has made, and nothing else.
  fs::create_directory(fs::u8path(folder.GetPath() + "bus"));
  for (const char* const name : {"bus", "van"}) {
    WriteFile(folder.GetPath() + name + "grep", "a file");
    LiteModelWriter(model).Save(folder.GetPath() + name);
  }
  EXPECT_EQ(folder.ListFiles(), "busgrep cargrep/1.gz carindex.gz carmodel/1.gz vangrep");
  EXPECT_TRUE(fs::is_directory(fs::u8path(folder.GetPath() + "bus")));
  for (const char* const name : {"van", "busmodel", "vanmodel"})
    EXPECT_FALSE(fs::exists(fs::u8path(folder.GetPath() + name))) << name;
}

#if defined(__linux__)

/// A program that saves over an older model, and cannot.
class StarvedSave : public ::testing::Test {
 protected:
  ChildRun Save(int boxes, const std::function<void()>& prepare = nullptr) const {
    return RunProgram({MIREL_SAVE_BOXES, target_, std::to_string(boxes)}, prepare);
  }
  /// True when it was saved; else all is as it was and the reason has been said.
  bool SaveOver(const FileContents& old, const char* reason,
                const std::function<void()>& prepare = nullptr) const {
    const ChildRun run = Save(kMany, prepare);
    EXPECT_TRUE(run.Succeeded());
    const FileContents found = ReadFiles(target_);
    if (found != old) {
      EXPECT_EQ(run.output, "");
      return true;
    }
    EXPECT_NE(run.output.find(reason), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(target_), std::string::npos) << run.output;
    return false;
  }
  static constexpr int kMany = 150;  // boxes: some blocks of a disk in each file

  const TestFolder folder_;
  const std::string target_ = folder_.GetPath() + "model/";
};

TEST_F(StarvedSave, AFullDiskLeavesTheOldModel) {
  if (!CanMount()) GTEST_SKIP() << "skipped: cannot mount a small disk here";
  EXPECT_TRUE(RunInChild([&] {
    MountSmallDisk(folder_.GetPath());
    ASSERT_TRUE(Save(2).Succeeded());
    const FileContents old = ReadFiles(target_);
    ASSERT_EQ(old.size(), 3U);
    unsigned int blocks = 0;
    for (;; ++blocks) {
      SCOPED_TRACE(blocks);
      ASSERT_LT(blocks, 50U);
      FillDisk(folder_.GetPath(), blocks);
      if (SaveOver(old, "No space left on device")) break;
      if (HasFailure()) return;
    }
    EXPECT_GE(blocks, 5U) << "an empty disk to almost all that is needed";
    const FileContents found = ReadFiles(target_);
    fs::remove(fs::u8path(folder_.GetPath() + "ballast"));
    ASSERT_TRUE(Save(kMany).Succeeded());
    EXPECT_TRUE(ReadFiles(target_) == found) << "what was saved into the last blocks is whole";
  }));
}

// What is full is the disk of the folder of packages, which is another one.
TEST_F(StarvedSave, ADiskOfPackagesAloneMayBeFull) {
  if (!CanMount()) GTEST_SKIP() << "skipped: cannot mount a small disk here";
  EXPECT_TRUE(RunInChild([&] {
    ASSERT_TRUE(Save(kMany).Succeeded());
    const FileContents whole = ReadFiles(target_);
    fs::remove_all(fs::u8path(target_));
    const std::string disk = target_ + "model/";
    fs::create_directories(fs::u8path(disk));
    MountSmallDisk(disk);
    ASSERT_TRUE(Save(2).Succeeded());
    FileContents old = ReadFiles(target_);
    EXPECT_EQ(old.size(), 3U);
    FillDisk(disk, 0);
    old["model/ballast"] = ReadFile(disk + "ballast");
    EXPECT_FALSE(SaveOver(old, "No space left on device"));
    fs::remove(fs::u8path(disk + "ballast"));
    EXPECT_TRUE(SaveOver(old, ""));
    EXPECT_TRUE(ReadFiles(target_) == whole);
  }));
}

TEST_F(StarvedSave, AFileBeyondTheLimitLeavesTheOldModel) {
  ASSERT_TRUE(Save(kMany).Succeeded());
  const FileContents whole = ReadFiles(target_);
  std::size_t largest = 0;
  for (const auto& [name, content] : whole)
    largest = std::max(largest, content.size());
  fs::remove_all(fs::u8path(target_));
  ASSERT_TRUE(Save(2).Succeeded());
  const FileContents old = ReadFiles(target_);
  for (const std::size_t limit : {std::size_t{0}, std::size_t{1}, std::size_t{512}, largest / 2, largest - 1})
    EXPECT_FALSE(SaveOver(old, "File too large", [=] { LimitFileSize(limit); })) << limit;
  EXPECT_TRUE(SaveOver(old, "", [=] { LimitFileSize(largest); }));
  EXPECT_TRUE(ReadFiles(target_) == whole);
}

TEST_F(StarvedSave, AFolderWithoutPermissionStaysAsItIs) {
  ASSERT_TRUE(Save(2).Succeeded());
  const FileContents old = ReadFiles(target_);
  fs::permissions(fs::u8path(target_), fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_FALSE(SaveOver(old, "Permission denied", ObeyPermissions));
  fs::permissions(fs::u8path(target_), fs::perms::owner_all);
  for (const char* const name : {"model", "grep"}) {
    const fs::path locked = fs::u8path(target_ + name);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
    const ChildRun run = Save(kMany, ObeyPermissions);
    EXPECT_NE(run.output.find("Permission denied"), std::string::npos) << run.output;
    fs::permissions(locked, fs::perms::owner_all);
    EXPECT_NE(run.output.find("and stays as it was"), std::string::npos) << run.output;
    EXPECT_TRUE(ReadFiles(target_) == old) << name;
  }
}

#endif

}  // namespace
}  // namespace mirel

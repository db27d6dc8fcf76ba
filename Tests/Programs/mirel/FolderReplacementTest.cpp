#include <Programs/mirel/Save/FolderReplacement.h>

#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace mirel {
namespace {

void MakeModelFolder(const std::string& folder, const std::string& content) {
  fs::create_directories(fs::u8path(folder + "model"));
  fs::create_directories(fs::u8path(folder + "grep"));
  for (const char* const name : {"index.gz", "model/1.gz", "grep/12.gz", "SHA256SUMS"}) {
    WriteFile(folder + name, content);
  }
}

// Replacing a folder deletes it: nothing may be in it that the program did not put there.
TEST(FolderReplacementTest, NeverDeletesForeignFiles) {
  const char* const foreign[] = {"notes.txt",      "model/old.brep", "grep/1.gz.bak",   "model/01.gz",
                                 "model/sub/1.gz", ".git",           "model/SHA256SUMS"};
  for (const char* const name : foreign) {
    const TestFolder scratch;
    const std::string model = scratch.GetPath() + "model/";
    MakeModelFolder(model, "old");
    const fs::path file = fs::u8path(model + name);
    fs::create_directories(file.parent_path());
    WriteFile(file.u8string(), "precious");
    EXPECT_NE(FolderReplacement(model, true).Check(), "") << name;
  }
  const TestFolder empty;
  EXPECT_NE(FolderReplacement(empty.GetPath(), true).Check(), "");
  WriteFile(empty.GetPath() + "SHA256SUMS", "of something else");
  EXPECT_NE(FolderReplacement(empty.GetPath(), true).Check(), "");
  EXPECT_NE(FolderReplacement("/", true).Check(), "");
}

// A folder that a killed save of another program left, and what no save leaves.
TEST(FolderReplacementTest, ReplacesAnIncompleteModelFolder) {
  const TestFolder scratch;
  const std::string model = scratch.GetPath() + "model/";
  MakeModelFolder(model, "old");
  fs::create_directories(fs::u8path(model + ".mirel-123/model"));
  WriteFile(model + ".mirel-123/model/1.gz", "new");
  WriteFile(model + "grep/.mirel-456", "part of a file");
  EXPECT_EQ(FolderReplacement(model, true).Check(), "");
  fs::remove(fs::u8path(model + "index.gz"));
  EXPECT_NE(FolderReplacement(model, false).Check().find("incomplete"), std::string::npos);
  EXPECT_EQ(FolderReplacement(model, true).Check(), "");
  WriteFile(model + ".mirel-rc", "somebody else's");
  EXPECT_NE(FolderReplacement(model, true).Check(), "");
}

TEST(FolderReplacementTest, RemovesWhatKilledProcessesLeftAndNothingElse) {
  const TestFolder scratch;
  const std::string& path = scratch.GetPath();
  std::string reason;
  for (const char* const name :
       {".mirel-0123456789abcdef", ".mirel-0123456789ABCDEF", ".mirel-1", ".mirel-ffffffffffffffff"})
    MakeModelFolder(path + name + "/", "left");
  WriteFile(path + ".mirel-ffffffffffffffff/notes.txt", "somebody else's");
  FolderReplacement alive(path + "a", false);
  ASSERT_TRUE(alive.Begin(reason));
  FolderReplacement second(path + "b", false);
  ASSERT_TRUE(second.Begin(reason));
  EXPECT_TRUE(fs::exists(fs::u8path(alive.GetFolder())));
  const bool canTell = FolderLock().Take(scratch.GetFsPath()) == FolderLock::Result::kTaken;
  EXPECT_EQ(fs::exists(fs::u8path(path + ".mirel-0123456789abcdef")), !canTell);
  for (const char* const name : {".mirel-0123456789ABCDEF", ".mirel-1", ".mirel-ffffffffffffffff"})
    EXPECT_TRUE(fs::exists(fs::u8path(path + name))) << name;
}

TEST(FolderReplacementTest, LooksAgainBeforeItPutsTheFolderInPlace) {
  const TestFolder scratch;
  const std::string target = scratch.GetPath() + "target";
  std::string reason;
  {
    FolderReplacement replacement(target, false);
    ASSERT_EQ(replacement.Check(), "");
    ASSERT_TRUE(replacement.Begin(reason));
    MakeModelFolder(target + "/", "somebody was faster");
    EXPECT_FALSE(replacement.Commit(reason));
    EXPECT_EQ(reason, "exists already; --force replaces it");
  }
  {
    FolderReplacement replacement(target, true);
    ASSERT_TRUE(replacement.Begin(reason));
    WriteFile(target + "/notes.txt", "precious");
    EXPECT_FALSE(replacement.Commit(reason));
  }
  EXPECT_EQ(ReadFile(target + "/index.gz"), "somebody was faster");
  EXPECT_EQ(ReadFile(target + "/notes.txt"), "precious");
}

TEST(FolderReplacementTest, FollowsALinkToTheFolder) {
  const TestFolder scratch;
  const std::string model = scratch.GetPath() + "deep/model/";
  MakeModelFolder(model, "old");
  const fs::path link = scratch.GetFsPath() / "link";
  std::error_code failure;
  fs::create_directory_symlink(fs::u8path(model), link, failure);
  if (failure) {
    GTEST_SKIP() << "no links here";
  }
  std::string reason;
  {
    FolderReplacement replacement(link.u8string(), true);
    EXPECT_EQ(replacement.Check(), "");
    ASSERT_TRUE(replacement.Begin(reason)) << reason;
    WriteFile(replacement.GetFolder() + "index.gz", "new");
    ASSERT_TRUE(replacement.Commit(reason)) << reason;
  }
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(ReadFile(model + "index.gz"), "new");
}

}  // namespace
}  // namespace mirel

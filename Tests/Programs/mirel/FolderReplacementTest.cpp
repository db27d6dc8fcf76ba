#include <Programs/mirel/Save/FolderReplacement.h>

#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace mirel {
namespace {

void MakeModelFolder(const std::string& folder, const std::string& content) {
  fs::create_directories(fs::u8path(folder + "model"));
  fs::create_directories(fs::u8path(folder + "grep"));
  for (const char* const name : {"index.gz", "model/1.gz", "grep/12.gz"}) {
    WriteFile(folder + name, content);
  }
}

TEST(FolderReplacementTest, RefusesWhatIsNoModelFolder) {
  const TestFolder scratch;
  const std::string path = scratch.GetPath();
  EXPECT_EQ(FolderReplacement(path + "new").Check(false), "");
  EXPECT_EQ(FolderReplacement(path + "a/b/c/").Check(false), "");
  EXPECT_NE(FolderReplacement(path).Check(true), "");  // a folder, though an empty one
  WriteFile(path + "file", "x");
  EXPECT_EQ(FolderReplacement(path + "file").Check(true), "is a file, not a folder");
  MakeModelFolder(path + "model/", "old");
  EXPECT_NE(FolderReplacement(path + "model").Check(false), "");
  EXPECT_EQ(FolderReplacement(path + "model").Check(true), "");
  EXPECT_NE(FolderReplacement("/").Check(true), "");
}

// Replacing a folder deletes it: nothing may be in it that the program did not put there.
TEST(FolderReplacementTest, NeverDeletesForeignFiles) {
  const char* const foreign[] = {"notes.txt", "model/old.brep", "grep/1.gz.bak", "model/sub/1.gz", ".git"};
  for (const char* const name : foreign) {
    const TestFolder scratch;
    const std::string model = scratch.GetPath() + "model/";
    MakeModelFolder(model, "old");
    const fs::path file = fs::u8path(model + name);
    fs::create_directories(file.parent_path());
    WriteFile(file.u8string(), "precious");
    EXPECT_NE(FolderReplacement(model).Check(true), "") << name;
  }
}

TEST(FolderReplacementTest, ReplacesWholeOrNotAtAll) {
  const TestFolder scratch;
  const std::string target = scratch.GetPath() + "设计/Größe";
  std::string reason;
  {
    FolderReplacement replacement(target + "/");
    ASSERT_TRUE(replacement.Begin(reason)) << reason;
    MakeModelFolder(replacement.GetFolder(), "first");
    EXPECT_FALSE(fs::exists(fs::u8path(target)));
    ASSERT_TRUE(replacement.Commit(reason)) << reason;
  }
  const std::string asSaved = scratch.ListFiles();
  EXPECT_EQ(ReadFile(target + "/grep/12.gz"), "first");
  {
    FolderReplacement replacement(target);
    ASSERT_TRUE(replacement.Begin(reason)) << reason;
    MakeModelFolder(replacement.GetFolder(), "given up");
  }
  EXPECT_EQ(ReadFile(target + "/index.gz"), "first");
  EXPECT_EQ(scratch.ListFiles(), asSaved);  // nothing is left lying about
  {
    FolderReplacement replacement(target);
    ASSERT_TRUE(replacement.Begin(reason)) << reason;
    WriteFile(replacement.GetFolder() + "index.gz", "second");
    ASSERT_TRUE(replacement.Commit(reason)) << reason;
  }
  EXPECT_EQ(ReadFile(target + "/index.gz"), "second");
  EXPECT_FALSE(fs::exists(fs::u8path(target + "/model")));  // not a mixture
  EXPECT_EQ(std::distance(fs::directory_iterator(fs::u8path(target).parent_path()), fs::directory_iterator()),
            1);
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
    FolderReplacement replacement(link.u8string());
    EXPECT_EQ(replacement.Check(true), "");
    ASSERT_TRUE(replacement.Begin(reason)) << reason;
    WriteFile(replacement.GetFolder() + "index.gz", "new");
    ASSERT_TRUE(replacement.Commit(reason)) << reason;
  }
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(ReadFile(model + "index.gz"), "new");
}

}  // namespace
}  // namespace mirel

#include <Programs/mirel/Save/FolderLock.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// A saved folder with its seal.
class Seal : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteFile(scratch_.GetPath() + "box.brep", ToText(MakeBox(1, 2, 3)));
    ASSERT_EQ(Mirel({"save", "-q", scratch_.GetPath() + "box.brep", folder_}), 0);
  }
  std::string Text() const { return ReadFile(folder_ + "SHA256SUMS"); }
  std::string Expected() const {
    return RunProgram({"/bin/sh", "-c", "cd \"" + folder_ + "\" && sha256sum grep/*.gz index.gz model/*.gz"})
        .output;
  }

  const TestFolder scratch_;
  const std::string folder_ = scratch_.GetPath() + "box/";
};

TEST_F(Seal, IsWhatSha256sumPrints) {
  EXPECT_EQ(Text(), Expected());
  EXPECT_EQ(Mirel({"check", "--strict", folder_}), 0);

  for (const char* const name : {"model/2.gz", "model/10.gz", "notes.txt"})
    WriteFile(folder_ + name, name);
  EXPECT_EQ(Mirel({"seal", folder_}), 0);
  EXPECT_EQ(Text(), Expected()) << "sorted as the shell does, and without foreign files";
}

TEST_F(Seal, KilledAnywhereLeavesTheOldOrTheNewOne) {
  if (!CanTrace()) GTEST_SKIP() << "skipped: cannot watch a process here";
  const std::string old = Text();
  WriteFile(folder_ + "index.gz", "changed");
  const std::string expected = Expected();
  unsigned int step = 0;
  for (;; ++step) {
    WriteFile(folder_ + "SHA256SUMS", old);
    const bool killed = RunUntil(step, {MIREL_PROGRAM, "seal", folder_}).killed;
    EXPECT_EQ(Text(), killed ? old : expected) << step;
    if (!killed) break;
    ASSERT_LT(step, 20U);
  }
  EXPECT_GE(step, 3U);
  EXPECT_EQ(ReadFiles(folder_).size(), 4U) << "what killed ones left is gone";
}

// Folders come from anywhere: a link must not lead a seal to another file.
TEST_F(Seal, WritesNoOtherFileAndWaitsForNobody) {
  const std::string precious = scratch_.GetPath() + "precious";
  for (const char* const name : {".mirel-0", "SHA256SUMS"}) {
    WriteFile(precious, "precious");
    fs::remove(fs::u8path(folder_ + name));
    fs::create_symlink(precious, fs::u8path(folder_ + name));
    EXPECT_EQ(Mirel({"seal", folder_}), 0);
    EXPECT_EQ(Text(), Expected());
    EXPECT_EQ(ReadFile(precious), "precious");
  }
  std::string out;
  std::string err;
  {
    FolderLock lock;
    ASSERT_EQ(lock.Take(fs::u8path(folder_)), FolderLock::Result::kTaken);
    EXPECT_EQ(Mirel({"seal", folder_}, out, &err), 3);
    EXPECT_NE(err.find("another process works on it"), std::string::npos) << err;
  }
  fs::remove(fs::u8path(folder_ + "model/1.gz"));
  fs::create_directory(fs::u8path(folder_ + "model/1.gz"));
  EXPECT_EQ(Mirel({"seal", folder_}, out, &err), 2);
  EXPECT_NE(err.find("model/1.gz: not a regular file"), std::string::npos) << err;
}

}  // namespace
}  // namespace mirel

#endif

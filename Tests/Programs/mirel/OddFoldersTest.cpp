#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <filesystem>

#if defined(__linux__)

#include <sys/stat.h>
#include <unistd.h>

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// Every verb that reads a model folder, on folders that are none, or not whole: it ends, says so and has the exit code
/// for it: 2, and that of its finding for `mirel check`.
class OddProgramInput : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(RunProgram({MIREL_PROGRAM, "save", "-q", MIREL_SAMPLE, path_ + "model"}).exitCode, 0);
  }
  void ExpectRefusals(const std::string& input, const char* message) {
    for (const char* const verb : {"tree", "info", "box", "stream", "check"})
      ExpectRefusal(verb, {MIREL_PROGRAM, verb, input}, message);
    ExpectRefusal("run", {MIREL_PROGRAM, "run", "ImportLiteModel", "--file", input + "/index.gz"}, message);
  }
  void ExpectRefusal(const std::string& verb, const std::vector<std::string>& command,
                     const std::string& message) {
    const ChildRun run = RunProgram(command, [] {
      alarm(60);  // ends a program that hangs
      ObeyPermissions();
    });
    EXPECT_GE(run.exitCode, 2) << verb << ": " << run.output;
    EXPECT_TRUE(run.exitCode == 2 || verb == "check") << verb << ": " << run.output;
    EXPECT_NE(run.output.find(message), std::string::npos) << verb << ": " << run.output;
  }

  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  const std::string model_ = path_ + "model";
};

TEST_F(OddProgramInput, EndsAndIsNamed) {
  const std::string index = model_ + "/index.gz";
  const std::string grep = model_ + "/grep/1.gz";
  for (const std::string& name : {index, grep}) {
    const std::string content = ReadFile(name);
    fs::permissions(fs::u8path(name), fs::perms::none);
    ExpectRefusals(model_, "Permission denied");
    fs::permissions(fs::u8path(name), fs::perms::owner_all);
    fs::remove(fs::u8path(name));
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    ExpectRefusals(model_, "not a regular file");
    fs::remove(fs::u8path(name));
    fs::create_symlink("/dev/zero", fs::u8path(name));
    ExpectRefusals(model_, "not a regular file");
    fs::remove(fs::u8path(name));
    WriteFile(name, content);
  }
  WriteGzip(grep, "no package");
  ExpectRefusals(model_, "grep/1.gz");
  WriteGzip(index, "{}");
  ExpectRefusals(model_, "");
  fs::remove(fs::u8path(index));
  ExpectRefusals(model_, "index.gz");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// As long as a file says it is, but without a byte on the disk: no room is made for it.
TEST_F(OddProgramInput, AHoleTakesNoMemory) {
  fs::resize_file(fs::u8path(model_ + "/grep/1.gz"), 0);
  fs::resize_file(fs::u8path(model_ + "/grep/1.gz"), std::uint64_t{3} << 30);
  const ChildRun run =
      RunProgram({MIREL_PROGRAM, "tree", model_}, [] { LimitMemory(std::uint64_t{2} << 30); });
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_NE(run.output.find("grep/1.gz: not a gzip file"), std::string::npos) << run.output;
}
#endif

}  // namespace
}  // namespace mirel

#endif

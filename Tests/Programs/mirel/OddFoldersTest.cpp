#include <Programs/mirel/Text/Utf8.h>

#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#if defined(__linux__)

#include <fcntl.h>
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
  static ChildRun Run(std::vector<std::string> arguments, const std::function<void()>& prepare = nullptr) {
    arguments.insert(arguments.begin(), MIREL_PROGRAM);
    return RunProgram(arguments, [&] {
      alarm(60);  // ends a program that hangs
      if (prepare) prepare();
    });
  }
  void ExpectRefusals(const std::string& input, const char* message) {
    for (const char* const verb : {"tree", "info", "box", "stream", "check"})
      ExpectRefusal(verb, {verb, input}, message);
    ExpectRefusal("run", {"run", "ImportLiteModel", "--file", input + "/index.gz"}, message);
    ExpectRefusal("picture", {"picture", "--size", "40x30", input, path_ + "out.png"}, message);
    ExpectRefusal("export", {"export", input, path_ + "out.glb"}, message);
  }
  void ExpectRefusal(const std::string& verb, const std::vector<std::string>& command,
                     const std::string& message) {
    const ChildRun run = Run(command, ObeyPermissions);
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

TEST_F(OddProgramInput, OnlyRegularFilesAreRead) {
  const std::string pipe = path_ + "pipe.step";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  fs::create_symlink("/dev/zero", fs::u8path(path_ + "link.brep"));
  const std::string target = path_ + "target";
  for (const std::string& input :
       {pipe, path_ + "link.brep", std::string("/dev/zero"), std::string("/dev/full")}) {
    ExpectRefusal("save", {"save", input, target}, input + ": not a regular file\n");
    for (const char* const verb : {"tree", "info", "box", "stream", "check", "seal"})
      ExpectRefusal(verb, {verb, input}, "not a regular file");
    ExpectRefusal("picture", {"picture", input, target}, "not a regular file");
    ExpectRefusal("run", {"run", "ImportLiteModel", "--file", input}, "not a regular file");
    for (const std::vector<std::string>& command : {std::vector<std::string>{"tree", model_},
                                                    {"stream", model_},
                                                    {"commands"},
                                                    {"run", "ImportLiteModel"}}) {
      std::vector<std::string> withModule = command;
      withModule.insert(withModule.end(), {"--module", input});
      ExpectRefusal(command[0] + " --module", withModule, input + ": not a regular file\n");
    }
  }
  EXPECT_FALSE(fs::exists(fs::u8path(target)));
}

// The log's own words stay; before them stands what a person can do something with.
TEST_F(OddProgramInput, SaysWhatIsLostAndWhatToDo) {
  std::string records = Inflate(model_ + "/grep/1.gz");
  std::string bodies = Inflate(model_ + "/model/1.gz");
  const auto expect = [&](const std::string& verb, const std::string& line, const char* logged) {
    SCOPED_TRACE(verb);
    std::vector<std::string> command = {verb, model_};
    if (verb == "run") command = {"run", "ImportLiteModel", "--file", model_ + "/index.gz"};
    if (verb == "picture") command = {"picture", "--size", "40x30", model_, path_ + "out.png"};
    const ChildRun run = Run(command);
    const std::size_t at = run.output.find(line);
    EXPECT_NE(at, std::string::npos) << line << "\n" << run.output;
    EXPECT_LT(at, run.output.find(std::string("; to mend it, save the model again\n    ") + logged, at))
        << run.output;
  };
  fs::remove(fs::u8path(model_ + "/grep/1.gz"));
  for (const std::string verb : {"tree", "info", "box", "run", "picture"})
    expect(verb,
           model_ +
               "/grep/1.gz: cannot be read (No such file or directory): the shapes that it draws are not",
           verb != "info" && verb != "box" ? "Buffer is null!\n" : "grep/1.gz cannot be read\n");
  expect("stream", "grep/1.gz is missing: the shapes that it draws are not shown", "grep/1.gz is missing\n");
  for (const char* const verb : {"tree", "info", "box", "run", "stream", "picture"})
    expect(verb, "\"Gabel\" has no graphics: the model holds none with id ", "Shape is null!\n");

  // The first body and the graphics of it are damaged.
  WriteGzip(model_ + "/grep/1.gz", records.replace(200, 60, 60, '\0'));
  WriteGzip(model_ + "/model/1.gz", bodies.replace(300, 60, 60, 'x'));
  for (const char* const verb : {"tree", "info", "box", "run", "stream", "picture"}) {
    const bool isStream = verb[0] == 's';
    expect(verb, (isStream ? "GRep package, item 1 of 7, id " : model_ + "/grep/1.gz: item 1 of 7, id "),
           "Shape is null!\n");
    expect(verb, (isStream ? "shape package, item 1 of 7, id " : model_ + "/model/1.gz: item 1 of 7, id "),
           "Shape is null!\n");
  }
}

// The same file gives the same folder wherever the program is started: OpenCASCADE would read these files in the current
// folder, and those that these variables name.
TEST_F(OddProgramInput, WhatLiesAroundDecidesNothing) {
  const std::string here = path_ + "here/";
  fs::create_directory(fs::u8path(here));
  WriteFile(here + "XSTEP.us", "garbage");
  ASSERT_EQ(mkfifo((here + "SHAPE.us").c_str(), 0600), 0);
  WriteFile(here + "STEP",
            "FromSTEP.exec.op: DropSmallEdges,SplitClosedFaces\nSplitClosedFaces.NbSplitPoints: 3\n");
  WriteGzip(path_ + "trolley.stpz", ReadFile(MIREL_SAMPLE));
  const ChildRun run = Run({"save", "-q", path_ + "trolley.stpz", path_ + "elsewhere"}, [&] {
    EXPECT_EQ(chdir(here.c_str()), 0);
    for (const char* const name : {"CSF_STEPDefaults", "CSF_XSTEPDefaults", "CSF_XSMessage", "CSF_SHMessage"})
      setenv(name, ".", 1);
    setenv("CSF_LANGUAGE", "us", 1);
    setenv("TMPDIR", "/dev/null", 1);  // no copy goes there
    setenv("CSF_MeshAlgo", "delabella", 1);
  });
  EXPECT_EQ(run.exitCode, 0) << run.output;
  EXPECT_EQ(run.output, "");
  EXPECT_TRUE(ReadFiles(path_ + "elsewhere") == ReadFiles(model_));
}

// Words of the command line, names of files, paths in an archive: all text goes out by one door.
TEST_F(OddProgramInput, NothingItSaysCommandsATerminal) {
  const std::string bad = "\x1b[31mred\r\n\xff\u202Etxt";
  const std::string other = path_ + bad;
  fs::copy(fs::u8path(model_), fs::u8path(other), fs::copy_options::recursive);
  WriteFile(other + "/" + bad, "");
  const std::string archive = path_ + "both.tar";
  const ChildRun tar = RunProgram({"/usr/bin/env", "tar", "cf", archive, "-C", path_, "model", bad});
  ASSERT_EQ(tar.exitCode, 0) << tar.output;
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
  } cases[] = {
      {{bad}, 1},
      {{"tree", "x", bad}, 1},
      {{"tree", "x", "--" + bad}, 1},
      {{"tree", "x", "--depth", bad}, 1},
      {{"stream", "x", "--seed", bad}, 1},
      {{"save", "x", "y", "--patience", bad}, 1},
      {{"check", "x", "--level", bad}, 1},
      {{"run", bad}, 1},
      {{"run", "ImportLiteModel", "--file", bad}, 2},
      {{"tree", model_, "--module", bad}, 2},
      {{"tree", bad}, 2},
      {{"info", bad}, 2},
      {{"box", "--id", bad, model_}, 2},
      {{"box", bad}, 2},
      {{"stream", bad}, 2},
      {{"seal", bad}, 2},
      {{"stream", "-"}, 2},
      {{"save", bad, "x"}, 2},
      {{"save", "--force", MIREL_SAMPLE, other}, 3},
      {{"check", other}, 0},
  };
  for (const auto& one : cases) {
    const ChildRun run = Run(one.arguments, [&] { dup2(open(archive.c_str(), O_RDONLY), STDIN_FILENO); });
    SCOPED_TRACE(one.arguments[0] + ": " + Utf8::ForTerminal(run.output, true));
    EXPECT_EQ(run.exitCode, one.exitCode);
    EXPECT_NE(run.output.find("red\\r\\n\\xff\\u{202e}txt"), std::string::npos);
    EXPECT_TRUE(Utf8::ForTerminal(run.output, true) == run.output);
    std::istringstream lines(run.output);
    for (std::string line; one.exitCode > 0 && std::getline(lines, line);)
      EXPECT_TRUE(line.rfind("mirel: ", 0) == 0 || line.rfind("    ", 0) == 0) << line;
  }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// As long as a file says it is, but without a byte on the disk: no room is made for it.
TEST_F(OddProgramInput, AHoleTakesNoMemory) {
  fs::resize_file(fs::u8path(model_ + "/grep/1.gz"), 0);
  fs::resize_file(fs::u8path(model_ + "/grep/1.gz"), std::uint64_t{3} << 30);
  const ChildRun run =
      RunProgram({MIREL_PROGRAM, "tree", model_}, [] { LimitMemory(std::uint64_t{2} << 30); });
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_NE(run.output.find("grep/1.gz: cannot be read (not a gzip file)"), std::string::npos) << run.output;
}
#endif

}  // namespace
}  // namespace mirel

#endif

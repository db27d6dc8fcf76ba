#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepTools.hxx>
#include <IGESControl_Writer.hxx>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace mirel {
namespace {

namespace fs = std::filesystem;

TEST(ImportLibrary, IgesFilesAreReadToo) {
  const TestFolder folder;
  const std::string& path = folder.GetPath();
  IGESControl_Writer writer("MM", 1);
  ASSERT_TRUE(writer.AddShape(BRepPrimAPI_MakeBox(10.0, 20.0, 30.0).Shape()));
  ASSERT_TRUE(writer.Write((path + "box.igs").c_str()));
  WriteGzip(path + "box.igz", ReadFile(path + "box.igs"));
  for (const char* const name : {"box.igs", "box.igz"}) {
    std::string out;
    std::string err;
    EXPECT_EQ(Mirel({"save", "--force", path + name, path + "box"}, out, &err), 0) << err;
    EXPECT_NE(out.find("nothing was lost"), std::string::npos) << out;
    EXPECT_EQ(Mirel({"box", path + "box"}, out), 0);
    EXPECT_NE(out.find("size 10 20 30"), std::string::npos) << out;
  }
}

#if defined(__linux__)

/// A copy of the program, which has no import libraries beside it.
class CopiedProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(library_.parent_path());
    fs::create_directories(program_.parent_path());
    fs::copy_file(MIREL_PROGRAM, program_);
  }
  ChildRun Run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), program_.u8string());
    return RunProgram(arguments);
  }
  void ExpectRefusal(const std::string& reason) const {
    const ChildRun run = Run({"save", MIREL_SAMPLE, path_ + "target"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_NE(run.output.find(std::string("mirel: ") + MIREL_SAMPLE + ": "), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(reason), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find(reason), run.output.rfind(reason)) << run.output;
    EXPECT_FALSE(fs::exists(fs::u8path(path_ + "target")));
  }
  void ExpectUnloadable(const std::string& reason) const {
    ExpectRefusal(" read by " + library_.u8string() + ", which cannot be loaded: " + reason);
  }

  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  const fs::path program_ = fs::canonical(folder_.GetFsPath()) / "bin" / "mirel";
  const fs::path library_ =
      (program_.parent_path() / MIREL_IMPORT_FOLDER / fs::path(MIREL_READ_STEP).filename())
          .lexically_normal();
};

TEST_F(CopiedProgram, NeedsNoReaderForAnythingElse) {
  ASSERT_TRUE(BRepTools::Write(BRepPrimAPI_MakeBox(1.0, 2.0, 3.0).Shape(), (path_ + "box.brep").c_str()));
  EXPECT_EQ(Run({"save", "--verify", path_ + "box.brep", path_ + "box"}).output.find("mirel:"),
            std::string::npos);
  for (const char* const verb : {"tree", "info", "box", "check", "stream"})
    EXPECT_EQ(Run({verb, path_ + "box"}).exitCode, 0) << verb;
  ExpectUnloadable("no such file");

  const ChildRun needs = RunProgram({program_.u8string()}, [] { setenv("LD_TRACE_LOADED_OBJECTS", "1", 1); });
  EXPECT_NE(needs.output.find("libMirelHost"), std::string::npos);
  for (const char* const slow : {"libTKXDE", "libTKSTEP", "libTKIGES", "libTKXSBase", "libTKXCAF", "libTKV3d",
                                 "libMirelDraw", "libembree"})
    EXPECT_EQ(needs.output.find(slow), std::string::npos) << needs.output;
}

TEST_F(CopiedProgram, SaysWhatToInstallForPictures) {
  const ChildRun run = Run({"picture", MIREL_SAMPLE, path_ + "out.png"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_NE(run.output.find("MirelPicture.so, which cannot be loaded: no such file"), std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("install the package libmirel-draw0"), std::string::npos) << run.output;
}

TEST_F(CopiedProgram, SaysWhyItCannotLoadAReader) {
  const std::string whole = ReadFile(MIREL_READ_STEP);
  ASSERT_GT(whole.size(), 20000U);
  WriteFile(library_.u8string(), whole.substr(0, 20000));
  ExpectUnloadable("the file is cut short");
  WriteFile(library_.u8string(), "no library");
  ExpectUnloadable("");
  WriteFile(library_.u8string(), ReadFile(MIREL_MODULE));
  ExpectUnloadable("it is another library");
}

TEST_F(CopiedProgram, SurvivesACrashOfAReader) {
  fs::copy_file(MIREL_CRASHING_IMPORT, library_);
  ExpectRefusal("the file made OpenCASCADE crash");
}

TEST_F(CopiedProgram, FindsItsReadersThroughALink) {
  fs::remove(program_);
  fs::create_symlink(MIREL_PROGRAM, program_);
  EXPECT_EQ(Run({"save", MIREL_SAMPLE, path_ + "target"}).exitCode, 0);
}

#endif

}  // namespace
}  // namespace mirel

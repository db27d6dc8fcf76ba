#include <Tests/Support/ChildRun.h>
#include <Tests/Support/StepMutant.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <thread>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// `mirel save --into`, on a few small files.
class SavedBatch : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* const name : {"in/a/trolley.step", "in/b/trolley.step"})
      Put(name, ReadFile(MIREL_SAMPLE));
    Put("in/point.brep", kPoint);
    Put("in/Größe.BRP", kPoint);
  }
  void Put(const std::string& name, const std::string& content) const {
    fs::create_directories(fs::u8path(path_ + name).parent_path());
    WriteFile(path_ + name, content);
  }
  std::vector<std::string> Command(std::vector<std::string> arguments,
                                   const std::string& program = MIREL_PROGRAM) const {
    std::vector<std::string> command = {"/usr/bin/env", "-C", path_, program, "save", "--into", "out"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
  }
  ChildRun Save(std::vector<std::string> arguments) const {
    return RunProgram(Command(std::move(arguments)));
  }
  /// "outcome file", line by line, of a run whose report is JSON.
  static std::string Outcomes(const std::string& report) {
    std::istringstream lines(report);
    std::string all;
    for (std::string line; std::getline(lines, line);) {
      if (line[0] == '{') all += Member(line, "outcome") + " " + Member(line, "file") + "\n";
    }
    return all;
  }
  static std::string Member(const std::string& line, const std::string& key) {
    const std::size_t begin = line.find("\"" + key + "\":\"") + key.size() + 4;
    return line.substr(begin, line.find('"', begin) - begin);
  }
  std::string SaveOutcomes(std::vector<std::string> arguments, int exitCode) const {
    arguments.emplace_back("--json");
    const ChildRun run = Save(arguments);
    EXPECT_EQ(run.exitCode, exitCode) << run.output;
    return Outcomes(run.output);
  }
  /// How many processes work in the test's folder.
  int CountProcesses() const {
    const fs::path folder = fs::canonical(folder_.GetFsPath());
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
      std::error_code gone;
      count += fs::read_symlink(entry.path() / "cwd", gone) == folder ? 1 : 0;
    }
    return count;
  }
  /// Whether that many are there after a while.
  bool AwaitProcesses(int count) const {
    for (int i = 0; i < 1000 && CountProcesses() != count; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return CountProcesses() == count;
  }
  /// No name of what a save has not finished.
  void ExpectNothingHalf() const {
    EXPECT_EQ(folder_.ListFiles().find(".mirel-"), std::string::npos) << folder_.ListFiles();
  }

  static constexpr const char* kPoint =
      "DBRep_DrawableShape\n\nCASCADE Topology V3, (c) Open Cascade\nLocations 0\nCurve2ds 0\nCurves 0\n"
      "Polygon3D 0\nPolygonOnTriangulations 0\nSurfaces 0\nTriangulations 0\n\nTShapes 1\nVe\n1e-07\n1 2 "
      "3\n0 0\n\n"
      "0101101\n*\n\n+1 0\n";
  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
};

TEST_F(SavedBatch, HasAFolderForEachFileAndTellsOfThemInOrder) {
  Put("in/broken.step", "ISO-10303-21;");
  Put("in/b/notes.txt", "");
  Put("in/.hidden/point.brep", kPoint);
  Put("list", std::string("in/missing.step\0in/point.brep\0./in/broken.step\0", 48));
  const std::string files =
      "saved in/Größe.BRP\nsaved in/a/trolley.step\nsaved in/b/trolley.step\nunreadable in/broken.step\n"
      "saved in/point.brep\nunreadable in/missing.step\n";
  EXPECT_EQ(SaveOutcomes({"--recursive", "in", "--files-from", "list", "--log", "log", "--jobs", "3"}, 2),
            files);
  std::string logged = Outcomes(ReadFile(path_ + "log"));
  EXPECT_EQ(std::count(logged.begin(), logged.end(), '\n'), 6) << logged;
  EXPECT_NE(ReadFile(path_ + "log").find("in/missing.step: no such file\"]}\n"), std::string::npos);
  ExpectNothingHalf();

  // The folder is that of a save of its own, with one file more.
  ASSERT_EQ(RunProgram({MIREL_PROGRAM, "save", path_ + "in/a/trolley.step", path_ + "alone"}).exitCode, 0);
  FileContents single = ReadFiles(path_ + "alone");
  FileContents one = ReadFiles(path_ + "out/in/b/trolley.step");
  EXPECT_EQ(one.erase("source.json"), 1u);
  EXPECT_NE(one["SHA256SUMS"].find("  source.json\n"), std::string::npos);
  one.erase("SHA256SUMS");
  single.erase("SHA256SUMS");
  EXPECT_TRUE(one == single);
  EXPECT_EQ(RunProgram({MIREL_PROGRAM, "check", "--strict", path_ + "out/in/b/trolley.step"}).exitCode, 0);

  EXPECT_EQ(SaveOutcomes({"in/missing.step"}, 3), "unreadable in/missing.step\n");
  EXPECT_EQ(Save({"../x/in", path_ + "../x/in/../in", "/x"}).exitCode, 3);
  EXPECT_EQ(Save({"x", "/x"}).exitCode, 1) << "both would be out/x";
}

TEST_F(SavedBatch, PassesOverWhatIsDone) {
  const auto save = [&](std::vector<std::string> more, int exitCode = 0) {
    more.insert(more.begin(), {"in/point.brep", "in/a/trolley.step"});
    const std::string outcomes = SaveOutcomes(more, exitCode);
    return outcomes.substr(0, outcomes.find(' ')) + " " +
           outcomes.substr(outcomes.find('\n') + 1, outcomes.rfind(' ') - outcomes.find('\n') - 1);
  };
  EXPECT_EQ(save({}), "saved saved");
  EXPECT_EQ(save({}), "present present");
  EXPECT_EQ(save({"--check"}), "sound sound");
  EXPECT_EQ(save({"--verify"}), "saved saved");
  EXPECT_EQ(save({}), "present present");
  EXPECT_EQ(save({"--force"}), "saved saved");
  EXPECT_EQ(save({"--patience", "50"}), "saved saved");
  EXPECT_EQ(save({"--check"}, 6), "outdated outdated");
  EXPECT_EQ(save({}), "saved saved");

  std::string moved = kPoint;
  Put("in/point.brep", moved.replace(moved.find("1 2 3"), 5, "4 5 6"));
  WriteFile(path_ + "out/in/a/trolley.step/grep/1.gz", "");
  EXPECT_EQ(save({"--check"}, 6), "outdated damaged");
  fs::remove_all(fs::u8path(path_ + "out/in/a/trolley.step"));
  EXPECT_EQ(save({"--check"}, 6), "outdated missing");
  EXPECT_EQ(save({}), "saved saved");

  // Nobody knows what this one was made of.
  fs::remove(fs::u8path(path_ + "out/in/point.brep/source.json"));
  EXPECT_EQ(save({}, 2), "unwritten present");
  EXPECT_EQ(save({"--force"}), "saved saved");
}

TEST_F(SavedBatch, LosesOneFileToACrashAHangOrTooMuchMemory) {
  const fs::path program = folder_.GetFsPath() / "bin/mirel";
  const fs::path library = program.parent_path() / MIREL_IMPORT_FOLDER / "MirelReadSTEP.so";
  for (const auto& [file, copy] :
       {std::pair{fs::path(MIREL_PROGRAM), program}, {fs::path(MIREL_CRASHING_IMPORT), library}}) {
    fs::create_directories(copy.parent_path());
    fs::copy_file(file, copy);
  }
  Put("in/endless.brep", ReadFile(MIREL_SOURCE_DIR "/Tests/Support/endless.brep"));
  const ChildRun run = RunProgram(Command(
      {"--json", "--recursive", "in", "--patience", "1000", "--time-limit", "2"}, program.u8string()));
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(Outcomes(run.output), "saved in/Größe.BRP\ncrashed in/a/trolley.step\ncrashed in/b/trolley.step\n"
                                  "timeout in/endless.brep\nsaved in/point.brep\n")
      << run.output;
  EXPECT_NE(run.output.find("in/endless.brep: stopped: it took more than 2 seconds"), std::string::npos);

  EXPECT_EQ(SaveOutcomes({"in/a/trolley.step", "--memory-limit", "20M"}, 3), "memory in/a/trolley.step\n");
  // Two that are too much together take turns.
  EXPECT_EQ(SaveOutcomes({"in/a", "in/b", "--recursive", "--memory", "60M", "--jobs", "2"}, 0),
            "saved in/a/trolley.step\nsaved in/b/trolley.step\n");
  ExpectNothingHalf();
}

TEST_F(SavedBatch, LeavesNoProcessAndNothingHalf) {
  Put("in/endless.brep", ReadFile(MIREL_SOURCE_DIR "/Tests/Support/endless.brep"));
  for (const int number : {SIGKILL, SIGINT, SIGTERM}) {
    SCOPED_TRACE(number);
    const int batch =
        StartProgram(Command({"in/endless.brep", "in/point.brep", "--patience", "1000", "--jobs", "2"}));
    const fs::path done = folder_.GetFsPath() / "out/in/point.brep";
    for (int i = 0; i < 3000 && !fs::exists(done); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(fs::exists(done));
    ASSERT_EQ(kill(batch, number), 0);
    EXPECT_EQ(WaitFor(batch).exitCode, -1) << "a signal ended it";
    EXPECT_TRUE(AwaitProcesses(0));
    ExpectNothingHalf();
    fs::remove_all(done);
  }
  // A job that is killed by somebody is told of as such.
  const std::vector<std::string> command = Command({"in/endless.brep", "--patience", "1000", "--log", "log"});
  const int batch = StartProgram(command);
  ASSERT_TRUE(AwaitProcesses(2));
  const std::string children =
      "/proc/" + std::to_string(batch) + "/task/" + std::to_string(batch) + "/children";
  ASSERT_EQ(kill(std::stoi(ReadFile(children)), SIGKILL), 0);
  EXPECT_EQ(WaitFor(batch).exitCode, 3);
  EXPECT_EQ(Outcomes(ReadFile(path_ + "log")), "killed in/endless.brep\n");
  ExpectNothingHalf();
}

// OpenCASCADE looks for one of two entities of the same number in memory that it has not set.
TEST_F(SavedBatch, TellsOfEntitiesThatHaveOneNumber) {
  std::string step = ReadFile(MIREL_SAMPLE);
  Put("in/twice.step", step.replace(step.find("#1212 = "), 8, "#1143 = "));
  const ChildRun run = RunProgram(Command({"in/twice.step", "--verbose", "--json"}));
  EXPECT_NE(run.output.find("\"outcome\":\"saved\""), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("1 time ORIENTED_EDGE: Another entity before it has the same number: #2536"),
            std::string::npos)
      << run.output;
}

// scripts/hostile.sh takes thousands of them.
TEST_F(SavedBatch, EndsWithMutantsOfAStepFile) {
  fs::remove_all(fs::u8path(path_ + "in"));
  const std::string sample = ReadFile(MIREL_SAMPLE);
  for (unsigned int i = 1; i <= 30; ++i)
    Put("in/" + std::to_string(i) + ".step", MakeStepMutant(sample, i));
  const ChildRun run =
      Save({"--json", "--recursive", "in", "--patience", "1", "--time-limit", "60", "--memory-limit", "1G"});
  const std::string outcomes = Outcomes(run.output);
  EXPECT_EQ(std::count(outcomes.begin(), outcomes.end(), '\n'), 30) << run.output;
  for (const char* const bad : {"timeout", "memory", "killed"})
    EXPECT_EQ(outcomes.find(bad), std::string::npos) << run.output;
  EXPECT_NE(outcomes.find("saved"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("made the program crash"), std::string::npos) << run.output;
  ExpectNothingHalf();
}

}  // namespace
}  // namespace mirel

#endif

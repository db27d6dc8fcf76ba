#include <Tests/Docs/MarkdownFile.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>

namespace mirel {
namespace {

// What differs from run to run, or with the libraries that mesh and compress.
std::string WithoutMeasurements(const std::string& text) {
  static const std::regex measured(
      "^(seconds.*|bytes:.*|(index|grep|model|all)[ ./].*|.*riangles .*|.* compared)$");
  static const std::regex number("[0-9]+(\\.[0-9]+)?");
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, measured)) {
      line = std::regex_replace(line, number, "#");
      line = std::regex_replace(line, std::regex(" +"), " ");
    }
    result += line + "\n";
  }
  return result;
}

// Each block is a session: command lines after "$ ", each followed by all that it prints.
TEST(GuideTest, ItsExamplesAreWhatTheProgramSays) {
  const TestFolder scratch;
  std::filesystem::create_directory(scratch.GetFsPath() / "Samples");
  std::filesystem::copy_file(std::filesystem::u8path(MIREL_SAMPLE),
                             scratch.GetFsPath() / "Samples/trolley.step");
  const std::string output = scratch.GetPath() + "output";
  int commands = 0;
  const MarkdownFile guide("docs/guide.md");
  for (const MarkdownFile::Block& block : guide.GetBlocks()) {
    if (block.info != "console") continue;
    std::istringstream lines(block.text);
    std::string said;
    for (std::string line; std::getline(lines, line);) {
      if (line.compare(0, 2, "$ ") != 0) continue;
      const std::string command = "cd \"" + scratch.GetPath() + "\" && PATH=\"" +
                                  std::filesystem::path(MIREL_PROGRAM).parent_path().string() +
                                  ":$PATH\" && { " + line.substr(2) + "; } > \"" + output + "\" 2>&1";
      EXPECT_NE(std::system(command.c_str()), -1);
      said += line + "\n" + ReadFile(output);
      ++commands;
    }
    EXPECT_EQ(WithoutMeasurements(block.text), WithoutMeasurements(said)) << "The program says:\n" << said;
  }
  EXPECT_GE(commands, 5);
}

}  // namespace
}  // namespace mirel

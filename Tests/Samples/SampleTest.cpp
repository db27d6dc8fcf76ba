#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

using namespace mirel;

namespace {

// The entities of a STEP file, sorted, without line breaks and without their numbers, which depend on their
// order.
std::vector<std::string> Entities(const std::string& text) {
  std::vector<std::string> entities(1);
  bool inNumber = false;
  for (const char c : text) {
    if (c == ';') {
      entities.emplace_back();
    } else if (c == '#') {
      entities.back() += '#';
      inNumber = true;
    } else if (std::isspace(static_cast<unsigned char>(c)) == 0) {
      if (inNumber && std::isdigit(static_cast<unsigned char>(c)) != 0) continue;
      inNumber = false;
      entities.back() += c;
    }
  }
  std::sort(entities.begin(), entities.end());
  return entities;
}

}  // namespace

TEST(Sample, IsWhatItsGeneratorWrites) {
  const TestFolder folder;
  const std::string made = folder.GetPath() + "made-again.step";
  const std::string command = "\"" MIREL_MAKE_SAMPLE "\" \"" + made + "\"";
  ASSERT_EQ(0, std::system(command.c_str()));
  const std::vector<std::string> expected = Entities(ReadFile(MIREL_SOURCE_DIR "/Samples/trolley.step"));
  const std::vector<std::string> actual = Entities(ReadFile(made));
  ASSERT_GT(expected.size(), 1000u);
  ASSERT_EQ(expected.size(), actual.size());
  const auto difference = std::mismatch(expected.begin(), expected.end(), actual.begin());
  EXPECT_EQ(expected.end(), difference.first) << *difference.first << "\n" << *difference.second;
}

#include <Tests/Docs/MarkdownFile.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <filesystem>

using namespace mirel;

// scripts/update-docs.sh brings them up to date.
TEST(Documents, HoldTheFilesThatTheyInclude) {
  int included = 0;
  for (const std::string& path : MarkdownFile::ListAll()) {
    const MarkdownFile document(path);
    for (const MarkdownFile::Block& block : document.GetBlocks()) {
      if (block.include.empty()) continue;
      ++included;
      EXPECT_EQ(ReadFile(MIREL_SOURCE_DIR "/" + block.include), block.text)
          << path << " includes " << block.include;
    }
  }
  EXPECT_GE(included, 2);
}

TEST(Documents, LinkToFilesThatExist) {
  int links = 0;
  for (const std::string& path : MarkdownFile::ListAll()) {
    const MarkdownFile document(path);
    for (const std::string& link : document.GetLinks()) {
      ++links;
      EXPECT_TRUE(std::filesystem::exists(MIREL_SOURCE_DIR "/" + link)) << path << " links to " << link;
    }
  }
  EXPECT_GE(links, 5);
}

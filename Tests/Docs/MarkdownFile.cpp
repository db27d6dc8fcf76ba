#include <Tests/Docs/MarkdownFile.h>

#include <Tests/Support/TestFolder.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

namespace mirel {

namespace {

const std::string kRoot = MIREL_SOURCE_DIR "/";

}  // namespace

MarkdownFile::MarkdownFile(const std::string& path) {
  static const std::regex includeLine("<!-- include: (.*) -->");
  static const std::regex link("\\]\\(([^)#: ]+)(#[^)]*)?\\)");
  std::istringstream lines(ReadFile(kRoot + path));
  std::string include;
  bool inBlock = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 3, "```") == 0) {
      if (!inBlock) blocks_.push_back({line.substr(3), "", include});
      inBlock = !inBlock;
      include.clear();
    } else if (inBlock) {
      blocks_.back().text += line + "\n";
    } else {
      std::smatch match;
      include = std::regex_match(line, match, includeLine) ? match[1].str() : "";
      for (std::sregex_iterator i(line.begin(), line.end(), link), end; i != end; ++i) {
        links_.push_back((std::filesystem::path(path).parent_path() / (*i)[1].str()).generic_string());
      }
    }
  }
}

std::vector<std::string> MarkdownFile::ListAll() {
  std::vector<std::string> paths;
  for (const char* folder : {"", "docs/"}) {
    for (const auto& entry : std::filesystem::directory_iterator(kRoot + folder)) {
      if (entry.path().extension() == ".md") paths.push_back(folder + entry.path().filename().string());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string MarkdownFile::FindBlock(const std::string& info) const {
  const auto found =
      std::find_if(blocks_.begin(), blocks_.end(), [&](const Block& block) { return block.info == info; });
  return found == blocks_.end() ? "" : found->text;
}

}  // namespace mirel

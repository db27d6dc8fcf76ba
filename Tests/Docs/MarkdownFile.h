#pragma once

#include <string>
#include <vector>

namespace mirel {

/// A document of the project, cut into what tests look at. Paths are relative to the root of the source.
class MarkdownFile {
 public:
  /// The text between a pair of fences.
  struct Block {
    std::string info;     ///< what stands behind the opening fence: "json index.gz"
    std::string text;     ///< the lines between the fences, each with its line end
    std::string include;  ///< PATH of a line "<!-- include: PATH -->" just before the block, or empty
  };

  explicit MarkdownFile(const std::string& path);

  /// All documents: those in the root and those in docs/.
  static std::vector<std::string> ListAll();

  const std::vector<Block>& GetBlocks() const { return blocks_; }
  /// Targets of links that point into the project, without what follows a '#'.
  const std::vector<std::string>& GetLinks() const { return links_; }

  /// The text of the one block with this info; empty when there is none.
  std::string FindBlock(const std::string& info) const;

 private:
  std::vector<Block> blocks_;
  std::vector<std::string> links_;
};

}  // namespace mirel

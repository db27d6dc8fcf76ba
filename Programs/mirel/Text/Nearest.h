#pragma once

#include <string>
#include <vector>

namespace mirel {

/// What somebody may have meant who has mistyped a word.
class Nearest {
 public:
  /// The candidate that takes the fewest changes of a character to become `word`; empty when that is more than half of its
  /// characters. The first of several.
  static std::string Find(const std::string& word, const std::vector<std::string>& candidates);
};

}  // namespace mirel

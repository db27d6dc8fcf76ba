#include <Programs/mirel/Text/Nearest.h>

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace mirel {

namespace {

// How many characters must be changed, added or removed (Levenshtein's distance).
std::size_t CountChanges(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t k = 0; k < to.size(); ++k) {
      const std::size_t replaced = diagonal + (from[i] == to[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({replaced, row[k] + 1, row[k + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string Nearest::Find(const std::string& word, const std::vector<std::string>& candidates) {
  std::string found;
  std::size_t fewest = word.size();
  for (const std::string& candidate : candidates) {
    // What differs more in length is farther than half; this also keeps a word of any length from taking long.
    if (candidate.size() > 2 * word.size() || word.size() > 2 * candidate.size()) {
      continue;
    }
    const std::size_t changes = CountChanges(word, candidate);
    if (changes < fewest && 2 * changes <= candidate.size()) {
      fewest = changes;
      found = candidate;
    }
  }
  return found;
}

}  // namespace mirel

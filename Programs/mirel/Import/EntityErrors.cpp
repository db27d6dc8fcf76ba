#include <Programs/mirel/Import/EntityErrors.h>

#include <algorithm>
#include <utility>

namespace mirel {

namespace {

constexpr std::size_t kKinds = 20;
constexpr std::size_t kEntities = 5;

}  // namespace

void EntityErrors::Add(const std::string& kind, const std::string& entity) {
  Kind& entry = kinds_[kind];
  ++entry.count;
  if (entry.entities.size() < kEntities) {
    entry.entities.push_back(entity);
  }
}

std::vector<std::string> EntityErrors::ToLines() const {
  std::vector<std::pair<std::string, Kind>> kinds(kinds_.begin(), kinds_.end());
  std::stable_sort(kinds.begin(), kinds.end(),
                   [](const auto& a, const auto& b) { return a.second.count > b.second.count; });
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < std::min(kinds.size(), kKinds); ++i) {
    const auto& [kind, entry] = kinds[i];
    std::string line = std::to_string(entry.count) + (entry.count == 1 ? " time " : " times ") + kind;
    const char* separator = ": ";
    for (const std::string& entity : entry.entities) {
      line += separator + entity;
      separator = ", ";
    }
    lines.push_back(line + (entry.count > entry.entities.size() ? " ..." : ""));
  }
  if (kinds.size() > kKinds) {
    lines.push_back("and " + std::to_string(kinds.size() - kKinds) + " more kinds of errors");
  }
  return lines;
}

}  // namespace mirel

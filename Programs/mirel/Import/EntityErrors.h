#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mirel {

/// What is wrong with entities of a file, by kind: the same complaint about many entities is one.
class EntityErrors {
 public:
  /// `entity` names one with all that is wrong with it; `kind` is its type and the complaint.
  void Add(const std::string& kind, const std::string& entity);

  /// A line for each kind, the most frequent first: "12 times PRODUCT: no name: #7, #9, #15 ...". Kinds beyond the
  /// first twenty are counted in a last line.
  std::vector<std::string> ToLines() const;

 private:
  struct Kind {
    std::uint64_t count = 0;
    std::vector<std::string> entities;  // the first few
  };

  std::map<std::string, Kind> kinds_;
};

}  // namespace mirel

#pragma once

#include <Programs/mirel/Export/Exact/ExactStructure.h>
#include <Programs/mirel/Extras/Extras.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace mirel {

/// What the extras say of the products of a structure and of their places.
class ExtrasIndex {
 public:
  /// What something is said of: a product, or one of its components.
  struct Subject {
    std::size_t product;
    std::optional<std::size_t> component;
  };
  struct Saying {
    const Extras::Item* item;
    std::vector<Subject> subjects;  ///< each once
  };

  /// `extras` may be null.
  ExtrasIndex(const ExactStructure& structure, const Extras* extras);

  /// What is said of items wherever they are.
  const std::vector<Saying>& GetSayings() const { return sayings_; }
  /// How many things are said of single occurrences inside assemblies.
  std::uint64_t CountOccurrences() const { return occurrences_; }

 private:
  std::vector<Saying> sayings_;
  std::uint64_t occurrences_ = 0;
};

}  // namespace mirel

#pragma once

#include <cstdint>

namespace mirel {

/// How many packages of each kind the index of a model folder names.
struct PackageCounts {
  PackageCounts() = default;
  /// Reads no farther into the text, which ends with a zero byte, than to the counts. What is not there, or is
  /// no number, or what a text that is not JSON hides, is 0.
  explicit PackageCounts(const char* index);

  std::uint32_t shapes = 0;
  std::uint32_t greps = 0;
};

}  // namespace mirel

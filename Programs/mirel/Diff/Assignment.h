#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace mirel {

/// Pairs things of two kinds so that the sum of costs is the smallest.
struct Assignment {
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// The column of each row, or `kNone`. A pair that costs `limit` or more is none; costs are finite and not below 0. Takes
  /// a time in proportion to the product of both numbers and the smaller one of them.
  static std::vector<std::size_t>
  Solve(std::size_t rows, std::size_t columns, double limit,
        const std::function<double(std::size_t row, std::size_t column)>& cost);
};

}  // namespace mirel

#pragma once

#include <cstddef>
#include <vector>

namespace mirel::bench {

/// A series of generated models in which one thing grows while the rest stays: no stage may take more than
/// its share.
struct GrowthSeries {
  const char* kind;   ///< what grows; the tasks' --kind
  int power;          ///< of the growth that is right: 1 for time in proportion, 0 for the same time
  std::size_t first;  ///< the smallest model
  std::size_t last;   ///< the largest
};

const std::vector<GrowthSeries>& GetGrowthSeries();

}  // namespace mirel::bench

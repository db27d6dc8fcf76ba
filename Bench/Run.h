#pragma once

#include <Bench/Report.h>

#include <cstddef>
#include <string>
#include <vector>

namespace mirel::bench {

struct RunOptions {
  std::vector<std::string> sources;  ///< STEP files
  std::string work;  ///< a folder for what is prepared, ending with a separator; it may be large
  int rounds = 5;
  bool generated = true;           ///< measure generated models too
  std::size_t maxItems = 1000000;  ///< of the largest generated model
  /// Generated models just large enough to go through: for a test of the benchmark itself.
  bool tiny = false;
};

/// Prepares and measures everything: each STEP file against OpenCASCADE's own formats, and generated models
/// that grow. Throws `std::runtime_error` when a measurement failed.
Report Run(const RunOptions& options);

}  // namespace mirel::bench

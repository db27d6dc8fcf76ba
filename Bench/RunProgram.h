#pragma once

#include <Bench/Figures.h>

#include <string>
#include <vector>

namespace mirel::bench {

/// Runs another program, found in the search path, and gives back "seconds" from its beginning to its end, "userSeconds", and
/// "peakBytes" as the kernel counts them. What it prints goes to stderr. Throws `std::runtime_error` when it failed.
Figures RunProgram(const std::vector<std::string>& command);

/// Whether there is such a program in the search path.
bool HasProgram(const std::string& name);

}  // namespace mirel::bench

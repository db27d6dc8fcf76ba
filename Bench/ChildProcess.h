#pragma once

#include <Bench/Figures.h>

#include <string>
#include <vector>

namespace mirel::bench {

/// Runs a program, found in the search path, and gives back what it printed on stdout. Throws `std::runtime_error` when it
/// failed.
std::string ReadOutput(const std::vector<std::string>& command);

/// Runs this program with other arguments in a process of its own, waits for it, and gives back the figures
/// that it printed as its last line on stdout. Throws `std::runtime_error` when it failed or printed
/// something else.
Figures RunChild(const std::vector<std::string>& arguments);

}  // namespace mirel::bench

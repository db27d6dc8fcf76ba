#pragma once

#include <string>
#include <vector>

namespace mirel {

/// Runs `mirel` in this process and returns its exit code; what it printed is in `out` and `err`.
int Mirel(std::vector<std::string> arguments, std::string& out, std::string* err = nullptr);
int Mirel(std::vector<std::string> arguments);

}  // namespace mirel

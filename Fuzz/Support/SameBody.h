#pragma once

#include <string>

namespace mirel::fuzz {

/// True when two BRep texts say the same body: the same tokens, but for the last digits of numbers, since OpenCASCADE
/// scales directions to length 1 whenever it reads them, and the flag "changed since it was made", which it sets anew.
bool IsSameBody(const std::string& a, const std::string& b);

}  // namespace mirel::fuzz

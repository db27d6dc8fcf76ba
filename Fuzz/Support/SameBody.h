#pragma once

#include <string>

namespace mirel {
class TopoShape;
}

namespace mirel::fuzz {

/// The BRep text of a body, as packages hold it.
std::string WriteBody(const TopoShape& body);

/// True when two BRep texts say the same body: the same tokens, but for the last digits of numbers, since OpenCASCADE
/// scales directions to length 1 whenever it reads them, and the flag "changed since it was made", which it sets anew.
bool IsSameBody(const std::string& a, const std::string& b);

}  // namespace mirel::fuzz

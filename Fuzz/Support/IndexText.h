#pragma once

#include <Fuzz/Support/Mutate.h>

#include <string>

namespace mirel::fuzz {

/// Changes the text of an index by values and members, so that it stays JSON; text that is none has its bytes changed.
std::string MutateIndex(const std::string& text, Random& random, std::size_t maxSize);

}  // namespace mirel::fuzz

#pragma once

#include <cstdint>
#include <string_view>

namespace mirel {

/// SipHash-1-3 of some bytes (Aumasson, Bernstein 2012), with a key that every process draws for itself: whoever writes
/// a file cannot choose names that all get the same hash. Thread safe.
std::uint64_t SecretHash(std::string_view bytes);

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cstddef>

namespace mirel {

/// Hash of an id for the standard hash maps: 64-bit FNV-1a over the eight bytes of its integer, lowest byte first
/// (http://www.isthe.com/chongo/tech/comp/fnv/). It is the same in every process, so a model that is filled in the
/// same order is saved in the same order.
struct ObjectIdHash {
  std::size_t operator()(const ObjectId& id) const noexcept {
    unsigned long long hash = 0xcbf29ce484222325ULL;
    for (int shift = 0; shift < 64; shift += 8) {
      hash ^= (id.GetInteger() >> shift) & 0xFF;
      hash *= 0x100000001b3ULL;
    }
    return static_cast<std::size_t>(hash);
  }
};

}  // namespace mirel

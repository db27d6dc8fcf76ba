#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cstddef>

namespace mirel {

/// Hash of an id for the standard hash maps: 64-bit FNV-1a over the eight bytes of its integer, lowest byte first
/// (http://www.isthe.com/chongo/tech/comp/fnv/). It is the same in every process, so a model that is filled in the
/// same order is saved in the same order.
///
/// For that very reason whoever writes a file can choose ids that all meet in one bucket. A secret hash is another
/// function in every process, which nobody can aim at: `LiteModel` changes to one when a bucket gets crowded.
struct ObjectIdHash {
  static ObjectIdHash MakeSecret() {
    ObjectIdHash hash;
    hash.secret_ = ObjectId::NewId().GetInteger();  // never 0
    return hash;
  }
  bool IsSecret() const noexcept { return secret_ != 0; }

  std::size_t operator()(const ObjectId& id) const noexcept {
    if (IsSecret()) {
      // The finaliser of SplitMix64 (Steele, Lea, Flood 2014).
      unsigned long long z = id.GetInteger() ^ secret_;
      z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
      z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
      return static_cast<std::size_t>(z ^ (z >> 31));
    }
    unsigned long long hash = 0xcbf29ce484222325ULL;
    for (int shift = 0; shift < 64; shift += 8) {
      hash ^= (id.GetInteger() >> shift) & 0xFF;
      hash *= 0x100000001b3ULL;
    }
    return static_cast<std::size_t>(hash);
  }

 private:
  unsigned long long secret_ = 0;
};

/// For tables of ids whose order means nothing: secret from the start.
struct SecretIdHash : ObjectIdHash {
  SecretIdHash() : ObjectIdHash(MakeSecret()) {}
};

}  // namespace mirel

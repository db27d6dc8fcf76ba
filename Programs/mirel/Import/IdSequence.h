#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cstdint>

namespace mirel {

/// Ids that follow from a seed: the same input gives the same ids on every run, and so the same folder, byte
/// for byte. Within one sequence no id comes twice; sequences of different seeds practically share none.
class IdSequence {
 public:
  explicit IdSequence(std::uint64_t seed) : state_(seed) {}

  /// The next id; never 0.
  ObjectId Next() {
    ObjectId id;
    do {
      state_ += 0x9E3779B97F4A7C15ull;
      id.SetInteger(Mix(state_));
    } while (id.GetInteger() == 0);
    return id;
  }

  /// The finalizer of SplitMix64: a bijection of the 64-bit integers that scatters neighbours.
  /// Sebastiano Vigna, https://prng.di.unimi.it/splitmix64.c
  static std::uint64_t Mix(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

 private:
  std::uint64_t state_;
};

}  // namespace mirel

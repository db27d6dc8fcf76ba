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

  /// By how many steps `later` comes behind `earlier` in their sequence; 0 when they are not of one, which is what ids that
  /// were not made here practically always are.
  static std::int64_t CountBetween(const ObjectId& earlier, const ObjectId& later) {
    constexpr std::uint64_t kInverseStep = 0xF1DE83E19937733Dull;  // 1 / 0x9E37..., modulo 2^64
    const auto steps =
        static_cast<std::int64_t>((Unmix(later.GetInteger()) - Unmix(earlier.GetInteger())) * kInverseStep);
    constexpr std::int64_t kMost = std::int64_t{1} << 32;
    return steps < kMost && steps > -kMost ? steps : 0;
  }

  /// The finalizer of SplitMix64: a bijection of the 64-bit integers that scatters neighbours.
  /// Sebastiano Vigna, https://prng.di.unimi.it/splitmix64.c
  static std::uint64_t Mix(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

  /// The inverse of `Mix`.
  static std::uint64_t Unmix(std::uint64_t z) {
    z = (z ^ (z >> 31) ^ (z >> 62)) * 0x319642B2D24D8EC3ull;
    z = (z ^ (z >> 27) ^ (z >> 54)) * 0x96DE1B173F119089ull;
    return z ^ (z >> 30) ^ (z >> 60);
  }

 private:
  std::uint64_t state_;
};

}  // namespace mirel

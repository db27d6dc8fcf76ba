#pragma once

#include <glm/mat4x4.hpp>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string_view>

namespace mirel {

/// A number made of several things, for finding what is alike in all of them.
class KeyHash {
 public:
  KeyHash& Add(std::uint64_t value) {
    // The finaliser of SplitMix64 (Steele, Lea, Flood 2014).
    std::uint64_t z = hash_ + value + 0x9e3779b97f4a7c15ULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    hash_ = z ^ (z >> 31);
    return *this;
  }
  KeyHash& Add(std::string_view text) { return Add(std::uint64_t{std::hash<std::string_view>()(text)}); }

  /// A number to the next multiple of a step, so that noise makes no difference.
  KeyHash& Add(double value, double step) {
    const double steps = std::round(value / step);
    constexpr double kMost = 9e18;
    return Add(std::abs(steps) < kMost ? static_cast<std::uint64_t>(static_cast<std::int64_t>(steps)) : 0);
  }
  KeyHash& Add(const glm::dvec3& place, double step) {
    return Add(place.x, step).Add(place.y, step).Add(place.z, step);
  }
  /// Lengths are millimetres.
  KeyHash& Add(const glm::dmat4& placement) {
    // No number that anybody types in lies half way between two multiples of these.
    constexpr double kPi = 3.14159265358979;
    constexpr double kLength = 1e-4 * kPi, kTurn = 1e-7 * kPi;
    for (int column = 0; column < 3; ++column) {
      Add(glm::dvec3(placement[column]), kTurn);
    }
    return Add(glm::dvec3(placement[3]), kLength);
  }

  std::uint64_t Get() const { return hash_; }

 private:
  std::uint64_t hash_ = 0;
};

}  // namespace mirel

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mirel {

/// Remembers values that are in use, by numbers that say which may be equal: a value takes the place of another one with its
/// number, or nearly so. What is not found may still be in use. Keeps nothing alive. One thread at a time.
template <class Value>
class RecentValues {
 public:
  /// Where the value with this number is or would be; perhaps empty, perhaps another one.
  std::weak_ptr<Value>& At(std::uint64_t number) {
    if (slots_.empty()) slots_.resize(kSlots);
    return slots_[number * 0x9E3779B97F4A7C15u >> 51];
  }

 private:
  static constexpr std::size_t kSlots = 8192;

  std::vector<std::weak_ptr<Value>> slots_;
};

}  // namespace mirel

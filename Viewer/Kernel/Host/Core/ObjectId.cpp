#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <random>

namespace mirel {

namespace {

unsigned long long RandomStart() {
  std::random_device device;
  unsigned long long start = device();
  start = (start << 32) ^ device();
  // Some systems' random_device repeats itself; the clock makes two processes differ there too.
  return start ^ static_cast<unsigned long long>(std::chrono::system_clock::now().time_since_epoch().count());
}

/// The finaliser of SplitMix64 (Steele, Lea, Flood 2014): a bijection of the 64-bit integers, so distinct counters
/// give distinct ids.
unsigned long long Mix(unsigned long long z) {
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
  return z ^ (z >> 31);
}

}  // namespace

ObjectId::ObjectId(const std::string& text) noexcept {
  const char* const end = text.data() + text.size();
  unsigned long long value = 0;
  const std::from_chars_result result = std::from_chars(text.data(), end, value);
  if (result.ec == std::errc() && result.ptr == end) value_ = value;
}

ObjectId ObjectId::NewId() {
  static std::atomic<unsigned long long> counter{RandomStart()};
  ObjectId id;
  do {
    id.value_ = Mix(counter.fetch_add(1, std::memory_order_relaxed));
  } while (id.value_ == 0);
  return id;
}

std::string ObjectId::toString() const {
  char digits[20];
  const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value_);
  return std::string(digits, result.ptr);
}

}  // namespace mirel

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace mirel {

/// A signed difference, modulo 2^32, as an unsigned number that is small when the difference is near zero; and back.
inline std::uint32_t ZigZag(std::uint32_t difference) {
  return (difference << 1) ^ (0u - (difference >> 31));
}
inline std::uint32_t UnZigZag(std::uint32_t code) {
  return (code >> 1) ^ (0u - (code & 1u));
}

/// Collects the bytes of a record.
class ByteWriter {
 public:
  void Fixed(std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      data_.push_back(static_cast<char>(value >> (8 * i)));
  }
  void Real(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    Fixed(bits, 8);
  }
  void Number(std::uint32_t value) {
    for (; value > 127; value >>= 7)
      data_.push_back(static_cast<char>(value | 128));
    data_.push_back(static_cast<char>(value));
  }
  void Append(const ByteWriter& other) { data_ += other.data_; }
  const std::string& Data() const { return data_; }

 private:
  std::string data_;
};

/// Reads inside its bytes; what lies beyond them reads as 0 and sets the failure. Loops that read much do so through a
/// copy of their own, which the compiler keeps in registers.
class ByteReader {
 public:
  ByteReader(const char* bytes, std::size_t size)
      : next_(reinterpret_cast<const unsigned char*>(bytes)), end_(next_ + size) {}

  std::uint64_t Fixed(int bytes) {
    if (end_ - next_ < bytes) return Fail();
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i)
      value |= static_cast<std::uint64_t>(*next_++) << (8 * i);
    return value;
  }
  std::uint32_t U32() { return static_cast<std::uint32_t>(Fixed(4)); }
  double Real() {
    const std::uint64_t bits = Fixed(8);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  std::uint32_t Number() {
    if (next_ != end_ && next_[0] < 128) return *next_++;
    if (end_ - next_ >= 2 && next_[1] < 128) {
      next_ += 2;
      return (next_[-2] & 127u) | static_cast<std::uint32_t>(next_[-1]) << 7;
    }
    std::uint32_t value;
    const unsigned char* const behind = LongNumber(next_, end_, value);
    if (!behind) return Fail();
    next_ = behind;
    return value;
  }
  // The next `count` bytes; null when there are fewer.
  const unsigned char* Bytes(std::size_t count) {
    if (Remaining() < count) return Fail(), nullptr;
    next_ += count;
    return next_ - count;
  }

  bool Failed() const { return failed_; }
  bool AtEnd() const { return next_ == end_; }
  std::size_t Remaining() const { return static_cast<std::size_t>(end_ - next_); }

 private:
  std::uint32_t Fail() {
    failed_ = true;
    next_ = end_;
    return 0;
  }

  // What lies behind the number; null when it is cut short or too long.
  static const unsigned char* LongNumber(const unsigned char* next, const unsigned char* end,
                                         std::uint32_t& value) {
    std::uint64_t sum = 0;
    for (int shift = 0; shift < 35 && next != end; shift += 7) {
      const unsigned char byte = *next++;
      sum |= static_cast<std::uint64_t>(byte & 127) << shift;
      value = static_cast<std::uint32_t>(sum);
      if (byte < 128) return sum <= 0xFFFFFFFFu ? next : nullptr;
    }
    return nullptr;
  }

  const unsigned char* next_;
  const unsigned char* end_;
  bool failed_ = false;
};

}  // namespace mirel

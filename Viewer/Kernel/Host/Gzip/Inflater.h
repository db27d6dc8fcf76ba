#pragma once

#include <libdeflate.h>

#include <cstdint>
#include <memory>

namespace mirel {

struct InflaterDeleter {
  void operator()(libdeflate_decompressor* inflater) const { libdeflate_free_decompressor(inflater); }
};

/// What inflates with libdeflate, one stream at a time.
using Inflater = std::unique_ptr<libdeflate_decompressor, InflaterDeleter>;

/// A new one; null for want of memory.
inline Inflater MakeInflater() {
  return Inflater(libdeflate_alloc_decompressor());
}

/// The number in the first `count` bytes, 4 at most: gzip has all of its numbers so.
inline std::uint32_t LittleEndian(const char* bytes, int count) {
  std::uint32_t value = 0;
  for (int i = count; i-- > 0;)
    value = (value << 8) | static_cast<unsigned char>(bytes[i]);
  return value;
}

}  // namespace mirel

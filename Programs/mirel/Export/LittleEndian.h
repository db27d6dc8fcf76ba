#pragma once

#include <cstdint>
#include <string>

namespace mirel {

/// Numbers in files, the lowest byte first.
struct LittleEndian {
  static void Append(std::string& bytes, std::uint32_t number) {
    for (int i = 0; i < 4; ++i) {
      bytes.push_back(static_cast<char>(number >> (8 * i)));
    }
  }

  /// Puts the number in the place of four bytes that are there.
  static void Set(std::string& bytes, std::size_t offset, std::uint32_t number) {
    std::string written;
    Append(written, number);
    bytes.replace(offset, written.size(), written);
  }
};

}  // namespace mirel

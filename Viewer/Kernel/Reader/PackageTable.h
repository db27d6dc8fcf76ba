#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cstddef>
#include <cstdint>

namespace mirel {

/// The table of a package's inflated content, read where it stands: a count, entries of (id, offset, size), and behind
/// them the items' bytes back to back. Nothing is allocated for what the count claims.
class PackageTable {
 public:
  struct Entry {
    ObjectId id;
    std::uint32_t offset = 0;  ///< in the data, as the table says; items follow each other all the same
    std::uint32_t size = 0;
  };

  /// `data` stays the caller's and must outlive the table.
  PackageTable(const char* data, std::size_t size) {
    if (size < kCountSize) return;
    const std::uint64_t count = LittleEndian(data, kCountSize);
    if (count > (size - kCountSize) / kEntrySize) return;
    count_ = static_cast<std::size_t>(count);
    table_ = data + kCountSize;
    dataSize_ = size - kCountSize - kEntrySize * count_;
  }

  /// The number of items; 0 when there are none and when the table is cut short: then the content is no package.
  std::size_t GetCount() const { return count_; }

  Entry GetEntry(std::size_t index) const {
    const char* const entry = table_ + kEntrySize * index;
    Entry result;
    result.id.SetInteger(LittleEndian(entry, 8));
    result.offset = static_cast<std::uint32_t>(LittleEndian(entry + 8, 4));
    result.size = static_cast<std::uint32_t>(LittleEndian(entry + 12, 4));
    return result;
  }

  /// What follows the table; only for a count above 0.
  const char* GetData() const { return table_ + kEntrySize * count_; }
  std::size_t GetDataSize() const { return dataSize_; }

 private:
  static constexpr std::size_t kCountSize = 4;
  static constexpr std::size_t kEntrySize = 16;

  static unsigned long long LittleEndian(const char* bytes, std::size_t count) {
    unsigned long long value = 0;
    for (std::size_t i = count; i-- > 0;)
      value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
  }

  const char* table_ = nullptr;
  std::size_t count_ = 0;
  std::size_t dataSize_ = 0;
};

}  // namespace mirel

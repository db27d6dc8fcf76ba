#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mirel {

struct Picture;

/// The rows of a picture as a PNG file has them: one zlib stream, in strips that are compressed on all cores. The same picture
/// gives the same bytes, whatever the number of threads.
class CompressedRows {
 public:
  /// With an alpha channel, or without. Throws std::bad_alloc when memory ends.
  CompressedRows(const Picture& picture, bool hasAlpha);

  /// The strips of the stream, one after another.
  const std::vector<std::vector<std::uint8_t>>& GetStrips() const { return strips_; }

 private:
  struct Share;
  void Compress(const Picture& picture, bool hasAlpha, std::size_t number, Share& share);

  std::vector<std::vector<std::uint8_t>> strips_;
};

}  // namespace mirel

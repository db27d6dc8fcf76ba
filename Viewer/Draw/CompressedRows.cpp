#include <Viewer/Draw/CompressedRows.h>

#include <Viewer/Draw/ParallelLoop.h>
#include <Viewer/Draw/Picture.h>

#include <zlib.h>

#include <algorithm>
#include <new>

namespace mirel {

namespace {

// Rows of a strip: enough that what it cannot refer to, the strip before, hardly counts.
constexpr int kStripRows = 64;

// A sixth more bytes than level 6 in half of its time. Rows as they are become smaller than their differences: backdrop and
// faces are flat, and much of them is the same as elsewhere.
constexpr int kLevel = 3;
constexpr std::uint8_t kNoFilter = 0;

// What stands before and behind the compressed data (RFC 1950): deflate with a window of 32 KiB, quickly made.
constexpr std::uint8_t kHeader[] = {0x78, 0x5E};
constexpr std::size_t kSumSize = 4;

std::vector<std::uint8_t> CopyRows(const Picture& picture, bool hasAlpha, int first, int count) {
  std::vector<std::uint8_t> rows;
  const std::size_t perPixel = hasAlpha ? 4 : 3;
  rows.resize(static_cast<std::size_t>(count) * (1 + perPixel * static_cast<std::size_t>(picture.width)));
  std::uint8_t* to = rows.data();
  for (int y = first; y < first + count; ++y) {
    *to++ = kNoFilter;
    const std::uint8_t* from = picture.GetPixel(0, y);
    for (int x = 0; x < picture.width; ++x, from += 4) {
      *to++ = from[0];
      *to++ = from[1];
      *to++ = from[2];
      if (hasAlpha) *to++ = from[3];
    }
  }
  return rows;
}

// Ends at a byte's end, so that the next strip can follow; the last one ends the stream.
void Deflate(std::vector<std::uint8_t>& rows, bool isLast, std::vector<std::uint8_t>& bytes) {
  z_stream stream = {};
  constexpr int kRaw = -15;  // the largest window, and no header
  if (deflateInit2(&stream, kLevel, Z_DEFLATED, kRaw, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
  const std::size_t before = bytes.size();
  bytes.resize(before + deflateBound(&stream, static_cast<uLong>(rows.size())) + 16);
  stream.next_in = rows.data();
  stream.avail_in = static_cast<uInt>(rows.size());
  stream.next_out = bytes.data() + before;
  stream.avail_out = static_cast<uInt>(bytes.size() - before);
  deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
  bytes.resize(before + stream.total_out);
  deflateEnd(&stream);
}

}  // namespace

// What all strips need to know of one.
struct CompressedRows::Share {
  uLong sum = 0;  // of its rows (Adler-32)
  std::size_t size = 0;
};

CompressedRows::CompressedRows(const Picture& picture, bool hasAlpha)
    : strips_(static_cast<std::size_t>((picture.height + kStripRows - 1) / kStripRows)) {
  std::vector<Share> shares(strips_.size());
  ParallelLoop(strips_.size(), 0, [&](std::size_t i) { Compress(picture, hasAlpha, i, shares[i]); });
  uLong sum = adler32(0, nullptr, 0);
  for (const Share& share : shares)
    sum = adler32_combine(sum, share.sum, static_cast<z_off_t>(share.size));
  for (std::size_t i = kSumSize; i-- > 0;)
    strips_.back().push_back(static_cast<std::uint8_t>(sum >> (8 * i) & 0xFF));
}

void CompressedRows::Compress(const Picture& picture, bool hasAlpha, std::size_t number, Share& share) {
  const int first = static_cast<int>(number) * kStripRows;
  std::vector<std::uint8_t> rows =
      CopyRows(picture, hasAlpha, first, std::min(kStripRows, picture.height - first));
  share.size = rows.size();
  share.sum = adler32(adler32(0, nullptr, 0), rows.data(), static_cast<uInt>(rows.size()));
  std::vector<std::uint8_t>& strip = strips_[number];
  if (number == 0) strip.assign(std::begin(kHeader), std::end(kHeader));
  Deflate(rows, number + 1 == strips_.size(), strip);
  strip.shrink_to_fit();
}

}  // namespace mirel

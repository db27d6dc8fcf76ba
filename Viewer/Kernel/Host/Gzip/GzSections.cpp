#include <Viewer/Kernel/Host/Gzip/GzSections.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>
#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/Gzip/Inflater.h>

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

namespace mirel {

namespace {

/// libdeflate's default level: level 9 makes a folder of a real assembly 4 % smaller and takes six times as long.
constexpr int kCompressionLevel = 6;

// A gzip header: magic number, method, flags, four bytes of time, flags of the method, system (unknown). One flag says
// that an extra field follows.
constexpr char kHeader[] = "\x1f\x8b\x08\0\0\0\0\0\0\xff";
constexpr char kHeaderWithExtra[] = "\x1f\x8b\x08\4\0\0\0\0\0\xff";
constexpr std::size_t kHeaderSize = 10;
constexpr std::size_t kTrailerSize = 8;  // checksum and size of the content
// The extra field: its length, then the subfield's name and length.
constexpr char kName[] = "MS";
constexpr std::size_t kTableBegin = kHeaderSize + 6;

/// zlib's `crc32_combine` takes sizes as a `long`, which some systems give 32 bits.
constexpr std::size_t kMaxSection = 1 << 30;

/// A block of deflate with no content behind its first three bits, which lie at the end of a byte or take one.
constexpr char kEmptyStored[] = {'\0', '\0', '\xff', '\xff'};
constexpr char kFinalEmptyStored[] = {'\1', '\0', '\0', '\xff', '\xff'};

struct CompressorDeleter {
  void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

void Append(std::string& bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i)
    bytes += static_cast<char>(value >> (8 * i));
}

std::string Deflate(const char* content, std::size_t size) {
  const std::unique_ptr<libdeflate_compressor, CompressorDeleter> compressor(
      libdeflate_alloc_compressor(kCompressionLevel));
  if (!compressor) throw std::bad_alloc();
  std::string deflated(libdeflate_deflate_compress_bound(compressor.get(), size), '\0');
  deflated.resize(
      libdeflate_deflate_compress(compressor.get(), content, size, deflated.data(), deflated.size()));
  return deflated;
}

/// Makes a deflate stream, of `size` bytes of content, one that another can follow. libdeflate marks the last block and
/// does not tell where it is, but zlib stops at each.
void OpenEnd(std::string& deflated, std::size_t size) {
  std::string content(size, '\0');
  z_stream stream{};
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, inflateEnd);
  stream.next_in = reinterpret_cast<Bytef*>(deflated.data());
  stream.avail_in = static_cast<uInt>(deflated.size());
  stream.next_out = reinterpret_cast<Bytef*>(content.data());
  stream.avail_out = static_cast<uInt>(content.size());
  // After each block `data_type` has the bits of the last byte that are left, and flags: a block has ended, the last one.
  const auto bitsRead = [&] { return 8 * std::size_t{stream.total_in} - (stream.data_type & 7); };
  std::size_t lastBlock = 0;
  while (!(stream.data_type & 64)) {
    lastBlock = bitsRead();
    if (inflate(&stream, Z_BLOCK) != Z_OK || !(stream.data_type & 128)) {
      throw std::runtime_error("zlib cannot read what libdeflate has written");
    }
  }
  deflated[lastBlock / 8] = static_cast<char>(deflated[lastBlock / 8] & ~(1 << lastBlock % 8));
  deflated.resize((bitsRead() + 3 + 7) / 8, '\0');
  deflated.append(kEmptyStored, sizeof kEmptyStored);
}

}  // namespace

std::string CompressGzip(const std::string& content, std::size_t sectionBytes) {
  std::size_t count = 1;
  if (content.size() >= 2 * sectionBytes && content.size() <= UINT32_MAX) {
    count = (content.size() + sectionBytes - 1) / sectionBytes;
  }
  const std::size_t each = (content.size() + count - 1) / count;
  std::vector<std::string> sections(count);
  ShareOut(count, content.size(), [&](std::size_t i) {
    const std::size_t begin = i * each;
    const std::size_t size = std::min(each, content.size() - begin);
    sections[i] = Deflate(content.data() + begin, size);
    if (i + 1 < count) OpenEnd(sections[i], size);
  });

  std::string file(count > 1 ? kHeaderWithExtra : kHeader, kHeaderSize);
  if (count > 1) {
    const std::size_t tableSize = 4 + 4 * count;
    Append(file, 4 + tableSize, 2);
    file += kName;
    Append(file, tableSize, 2);
    Append(file, each, 4);
    for (const std::string& section : sections)
      Append(file, section.size(), 4);
  }
  for (const std::string& section : sections)
    file += section;
  Append(file, libdeflate_crc32(0, content.data(), content.size()), 4);
  Append(file, content.size(), 4);
  return file;
}

std::vector<GzSection> FindGzSections(const char* file, std::size_t size) {
  // Of the header, time and system are free.
  if (size < kTableBegin + kTrailerSize || std::memcmp(file, kHeaderWithExtra, 4) != 0) return {};
  const std::size_t tableSize = LittleEndian(file + kTableBegin - 2, 2);
  if (LittleEndian(file + kHeaderSize, 2) != 4 + tableSize ||
      std::memcmp(file + kHeaderSize + 2, kName, 2) != 0 || tableSize < 8 || tableSize % 4 != 0 ||
      size - kTableBegin - kTrailerSize < tableSize) {
    return {};
  }
  const std::size_t each = LittleEndian(file + kTableBegin, 4);
  if (each > kMaxSection) return {};
  const std::size_t contentSize = LittleEndian(file + size - 4, 4);
  const std::size_t end = size - kTrailerSize;
  std::vector<GzSection> sections(tableSize / 4 - 1);
  GzSection next;
  next.deflatedBegin = kTableBegin + tableSize;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    next.deflatedSize = LittleEndian(file + kTableBegin + 4 + 4 * i, 4);
    next.size = std::min(each, contentSize - next.begin);
    if (next.size == 0 || next.deflatedSize > end - next.deflatedBegin) return {};
    sections[i] = next;
    next.deflatedBegin += next.deflatedSize;
    next.begin += next.size;
  }
  if (next.deflatedBegin != end || next.begin != contentSize) return {};
  return sections;
}

bool InflateGzSections(const char* file, std::size_t size, const std::vector<GzSection>& sections,
                       char* content) {
  const GzSection& last = sections.back();
  std::vector<std::uint32_t> checksums(sections.size());
  std::atomic<bool> sound{true};
  ShareOut(sections.size(), last.begin + last.size, [&](std::size_t i) {
    const GzSection& section = sections[i];
    const char* deflated = file + section.deflatedBegin;
    std::size_t deflatedSize = section.deflatedSize;
    MallocBytes ended;
    if (&section != &last) {  // libdeflate wants a last block
      ended.reset(static_cast<char*>(std::malloc(deflatedSize + sizeof kFinalEmptyStored)));
      if (ended) {
        std::memcpy(ended.get(), deflated, deflatedSize);
        std::memcpy(ended.get() + deflatedSize, kFinalEmptyStored, sizeof kFinalEmptyStored);
      }
      deflated = ended.get();
      deflatedSize += sizeof kFinalEmptyStored;
    }
    const Inflater inflater = MakeInflater();
    char* const begin = content + section.begin;
    std::size_t taken = 0;
    // Without a place for the size of the output, it must be exactly what there is room for.
    if (!sound || !deflated || !inflater ||
        libdeflate_deflate_decompress_ex(inflater.get(), deflated, deflatedSize, begin, section.size, &taken,
                                         nullptr) != LIBDEFLATE_SUCCESS ||
        taken != deflatedSize) {
      sound = false;
      return;
    }
    checksums[i] = libdeflate_crc32(0, begin, section.size);
  });
  if (!sound) return false;
  uLong checksum = crc32(0, nullptr, 0);
  for (std::size_t i = 0; i < sections.size(); ++i)
    checksum = crc32_combine(checksum, checksums[i], static_cast<z_off_t>(sections[i].size));
  return checksum == LittleEndian(file + size - kTrailerSize, 4);
}

}  // namespace mirel

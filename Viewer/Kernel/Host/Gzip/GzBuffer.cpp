#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>
#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Gzip/GzSections.h>
#include <Viewer/Kernel/Host/Gzip/Inflater.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <new>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace mirel {

namespace {

/// Deflate's best: two bits stand for a copy of 258 bytes.
constexpr std::uint64_t kMaxDeflateRatio = 1032;

/// How large the content of a file may be, and why not larger.
struct Ceiling {
  std::uint64_t bytes;
  const char* reason;
};

Ceiling CeilingOf(std::size_t size) {
  const std::uint64_t limit = MemoryBudget::GetLimit();
  const std::uint64_t left = limit - std::min(limit, MemoryBudget::GetUsed());
  const Ceiling ceilings[] = {
      {size * kMaxDeflateRatio, "damaged gzip data"},
      {kMaxInflatedBytes, "the content is too large"},
      {kFreeContentBytes + size * kMaxContentRatio, "the content is out of proportion to the file"},
      {left / kMemoryPerContentByte, "the content would take more memory than the limit allows"}};
  return *std::min_element(std::begin(ceilings), std::end(ceilings),
                           [](const Ceiling& a, const Ceiling& b) { return a.bytes < b.bytes; });
}

/// The length field in the last four bytes: that of the last member, modulo 2^32. A hint, nothing more.
std::uint64_t DeclaredSize(const char* data, std::size_t size) {
  return size < 4 ? 0 : LittleEndian(data + size - 4, 4);
}

/// A block of `size` bytes. A package is larger than everything else that opening a folder allocates at once, and is
/// soon gone: with pages of the usual size, a tenth of the time that inflating takes goes into getting them.
MallocBytes Allocate(std::size_t size) {
#if defined(__linux__)
  constexpr std::size_t kHugePage = std::size_t{2} << 20;
  if (size >= kHugePage / 2) {
    size = (size + kHugePage - 1) / kHugePage * kHugePage;
    void* block = nullptr;
    if (posix_memalign(&block, kHugePage, size) != 0) return nullptr;
    madvise(block, size, MADV_HUGEPAGE);  // advice: a system without huge pages does as always
    return MallocBytes(static_cast<char*>(block));
  }
#endif
  return MallocBytes(static_cast<char*>(std::malloc(size)));
}

/// Gives `content` room for `capacity` bytes and a zero byte.
bool Grow(MallocBytes& content, std::uint64_t capacity) {
  if (!content) {
    content = Allocate(static_cast<std::size_t>(capacity) + 1);
    return content != nullptr;
  }
  char* const grown = static_cast<char*>(std::realloc(content.get(), static_cast<std::size_t>(capacity) + 1));
  if (!grown) return false;
  static_cast<void>(content.release());  // realloc has taken it over
  content.reset(grown);
  return true;
}

/// False, and no content, when that is not possible: whether the file is damaged is for the ordinary way to say.
bool InflateInSections(const char* data, std::size_t size, std::uint64_t ceiling, MallocBytes& content,
                       std::size_t& contentSize) {
  const std::vector<GzSection> sections = FindGzSections(data, size);
  if (sections.empty()) return false;
  contentSize = sections.back().begin + sections.back().size;
  if (contentSize > ceiling || !Grow(content, contentSize)) return false;
  content.get()[contentSize] = '\0';
  if (InflateGzSections(data, size, sections, content.get())) return true;
  content.reset();
  return false;
}

bool Inflate(const char* data, std::size_t size, MallocBytes& content, std::size_t& contentSize,
             std::string& reason) {
  const Ceiling ceiling = CeilingOf(size);
  if (InflateInSections(data, size, ceiling.bytes, content, contentSize)) return true;

  const Inflater inflater = MakeInflater();
  const std::uint64_t declared = DeclaredSize(data, size);
  if (declared > ceiling.bytes &&
      declared <= size * kMaxDeflateRatio) {  // or it is not true, and the file is damaged
    reason = ceiling.reason;
    return false;
  }
  std::uint64_t capacity = std::min(declared, ceiling.bytes);
  if (!inflater || !Grow(content, capacity)) {
    reason = "out of memory";
    return false;
  }

  std::size_t read = 0;
  std::uint64_t written = 0;
  while (read < size || read == 0) {
    std::size_t memberRead = 0;
    std::size_t memberWritten = 0;
    switch (libdeflate_gzip_decompress_ex(inflater.get(), data + read, size - read, content.get() + written,
                                          static_cast<std::size_t>(capacity - written), &memberRead,
                                          &memberWritten)) {
    case LIBDEFLATE_SUCCESS:
      read += memberRead;
      written += memberWritten;
      break;
    case LIBDEFLATE_INSUFFICIENT_SPACE:  // several members, or a wrong declared size
      if (capacity == ceiling.bytes) {
        reason = ceiling.reason;
        return false;
      }
      capacity = std::min(ceiling.bytes, std::max<std::uint64_t>(2 * capacity, 4096));
      if (!Grow(content, capacity)) {
        reason = "out of memory";
        return false;
      }
      break;
    default:
      reason = read == 0 ? "not a gzip file, or damaged" : "bytes behind the gzip data, or damaged";
      return false;
    }
  }
  content.get()[written] = '\0';
  contentSize = static_cast<std::size_t>(written);
  return true;
}

void LogReason(const std::string& name, const std::string& reason) {
  Logger::Instance().Message(1, "Cannot read %s: %s", name.c_str(), reason.c_str());
}

}  // namespace

std::shared_ptr<RawBuffer> GzBuffer::FromFile(const std::string& path) {
  MallocBytes file;
  std::size_t fileSize = 0;
  std::string reason;
  if (!ReadGzipFile(path, file, fileSize, reason)) {
    LogReason(path, reason);
    return nullptr;
  }
  return FromMemory(file.get(), fileSize, path);
}

std::shared_ptr<RawBuffer> GzBuffer::FromMemory(const char* data, std::size_t size, const std::string& name) {
  MallocBytes content;
  std::size_t contentSize = 0;
  std::string reason;
  if (!Inflate(data, size, content, contentSize, reason)) {
    LogReason(name, reason);
    return nullptr;
  }
  struct Content {
    MemoryBudget::Share share;
    MallocBytes bytes;
  };
  const auto held = std::make_shared<Content>(Content{MemoryBudget::Share(contentSize), std::move(content)});
  return std::make_shared<RawBuffer>(std::shared_ptr<const char>(held, held->bytes.get()), contentSize);
}

}  // namespace mirel

// Gzip files. A file that inflates gives the same content from memory and from disk, twice the content when it follows
// itself, and nothing when a byte is missing or added; its content can be written and read again, also in sections. With
// and without the field that tells of sections a file is the same.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/FuzzFolder.h>
#include <Fuzz/Support/Mutate.h>
#include <Tests/Support/TestFolder.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Gzip/GzSections.h>
#include <Viewer/Kernel/Host/Gzip/ogzstream.h>

#include <libdeflate.h>

#include <algorithm>
#include <cstring>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

/// Deflate's best ratio, and sizes of contents beyond which they are not compressed, for want of time.
constexpr std::size_t kMaxRatio = 1032;
constexpr std::size_t kMaxRewritten = 1 << 20;
constexpr std::size_t kMaxMutated = 1 << 16;

bool IsSame(const std::shared_ptr<RawBuffer>& a, const std::shared_ptr<RawBuffer>& b) {
  if (!a || !b) return !a && !b;
  return a->GetSize() == b->GetSize() && std::memcmp(a->GetData(), b->GetData(), a->GetSize()) == 0;
}

std::shared_ptr<RawBuffer> FromMemory(const std::string& file) {
  return GzBuffer::FromMemory(file.data(), file.size(), "memory");
}

std::string WriteFileOf(const RawBuffer& content, const std::string& path) {
  {
    ogzstream stream(path.c_str(), static_cast<int>(std::ios_base::out));
    stream.write(content.GetData(), static_cast<std::streamsize>(content.GetSize()));
  }
  return ReadFile(path);
}

/// Where the header's optional fields begin to be others than the extra field.
std::size_t SkipExtraField(const std::string& file) {
  if (file.size() < 12 || !(file[3] & 4)) return 10;
  return 12 + static_cast<unsigned char>(file[10]) + 256 * static_cast<unsigned char>(file[11]);
}

/// A file that differs in its first header only.
std::string WithoutExtraField(const std::string& file) {
  const std::size_t behind = SkipExtraField(file);
  if (behind == 10 || behind > file.size()) return file;
  std::string without = file.substr(0, 10) + file.substr(behind);
  without[3] = static_cast<char>(without[3] & ~4);
  return without;
}

/// Sections of which there are a few, and no more than a header can tell of.
std::string CompressInSections(const std::string& content, unsigned int number) {
  const std::size_t sections = 1 + number % 20;
  return CompressGzip(content, 1 + content.size() / sections);
}

void CheckContent(const std::string& file, const RawBuffer& content) {
  MIREL_FUZZ_CHECK(content.GetSize() <= file.size() * kMaxRatio, "More content than the file can hold");
  MIREL_FUZZ_CHECK(content.GetData()[content.GetSize()] == '\0', "No zero byte behind the content");
  if (content.GetSize() > kMaxRewritten) return;

  MIREL_FUZZ_CHECK(!FromMemory(file.substr(0, file.size() - 1)), "A byte is missing and it inflates");
  MIREL_FUZZ_CHECK(!FromMemory(file + '\x1f'), "A byte follows and it inflates");
  const std::shared_ptr<RawBuffer> twice = FromMemory(file + file);
  const std::string text(content.GetData(), content.GetSize());
  MIREL_FUZZ_CHECK(twice && std::string(twice->GetData(), twice->GetSize()) == text + text,
                   "Two files in a row are not both contents in a row");

  const std::string path = FuzzFolder() + "written.gz";
  const std::string written = WriteFileOf(content, path);
  MIREL_FUZZ_CHECK(WriteFileOf(content, path) == written, "Written twice, the bytes differ");
  const std::shared_ptr<RawBuffer> again = GzBuffer::FromFile(path);
  MIREL_FUZZ_CHECK(again && std::string(again->GetData(), again->GetSize()) == text,
                   "What was written reads as something else");
  const std::string sections = CompressInSections(text, libdeflate_crc32(0, file.data(), file.size()));
  const std::shared_ptr<RawBuffer> together = FromMemory(sections);
  MIREL_FUZZ_CHECK(together && std::string(together->GetData(), together->GetSize()) == text,
                   "In sections it is something else");
  MIREL_FUZZ_CHECK(IsSame(together, FromMemory(WithoutExtraField(sections))),
                   "Sections are no deflate stream");
}

// The mutator. It works on the content, on the deflated bytes or on the header, and then makes lengths and checksums fit,
// or nearly so.

void AppendInteger(std::string& out, std::uint32_t value) {
  for (int i = 0; i < 4; ++i)
    out += static_cast<char>(value >> (8 * i));
}

std::string Deflate(const std::string& content, int level) {
  libdeflate_compressor* const compressor = libdeflate_alloc_compressor(level);
  std::string out(libdeflate_deflate_compress_bound(compressor, content.size()), '\0');
  out.resize(libdeflate_deflate_compress(compressor, content.data(), content.size(), out.data(), out.size()));
  libdeflate_free_compressor(compressor);
  return out;
}

/// The content of deflated bytes, up to a size, and how many of the bytes it took; empty when they are damaged.
std::string Inflate(const std::string& deflated, std::size_t& taken) {
  std::string content(kMaxMutated, '\0');
  libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
  std::size_t size = 0;
  if (libdeflate_deflate_decompress_ex(decompressor, deflated.data(), deflated.size(), content.data(),
                                       content.size(), &taken, &size) != LIBDEFLATE_SUCCESS) {
    taken = deflated.size();
    size = 0;
  }
  libdeflate_free_decompressor(decompressor);
  content.resize(size);
  return content;
}

/// Where the deflated bytes of a member begin: behind the header with its optional fields.
std::size_t FindDeflated(const std::string& file) {
  if (file.size() < 10) return file.size();
  const unsigned char flags = static_cast<unsigned char>(file[3]);
  std::size_t at = SkipExtraField(file);
  for (const int text : {8, 16}) {
    if (flags & text && at < file.size()) at = file.find('\0', at) + 1;
    if (at == 0) return file.size();
  }
  if (flags & 2) at += 2;
  return std::min(at, file.size());
}

std::string MakeHeader(Random& random) {
  const int flags = random() % 3 == 0 ? static_cast<int>(random() % 32) : 0;
  std::string header = "\x1f\x8b\x08";
  header += static_cast<char>(flags);
  header += std::string(6, static_cast<char>(random()));
  if (flags & 4) header += std::string("\3\0abc", 5);
  if (flags & 8) header += std::string("name\0", 5);
  if (flags & 16) header += std::string("\0", 1);
  if (flags & 2) header += "hc";
  return header;
}

/// Changes a number of the table of sections, and often the next one so that the sum stays.
void MutateTable(std::string& header, Random& random) {
  if (header.size() < 28) return;
  const std::size_t at = 16 + 4 * (random() % ((header.size() - 16) / 4 - 1));
  const int by = static_cast<int>(random() % 9) - 4;
  header[at] = static_cast<char>(header[at] + by);
  if (random() % 4 != 0) header[at + 4] = static_cast<char>(header[at + 4] - by);
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  if (random() % 4 == 0) return LLVMFuzzerMutate(data, size, maxSize);

  const std::string file(reinterpret_cast<const char*>(data), size);
  const std::size_t begin = FindDeflated(file);
  std::string header = file.substr(0, begin);
  std::string deflated = file.substr(begin, file.size() - begin);
  std::size_t taken = 0;
  std::string content = Inflate(deflated, taken);
  std::string rest = deflated.substr(std::min(deflated.size(), taken + 8));
  deflated.resize(taken);
  switch (random() % 6) {
  case 0:
    content = MutateBytes(content, std::min<std::size_t>(2 * content.size() + 16, kMaxMutated));
    deflated = Deflate(content, 1 + static_cast<int>(random() % 12));
    break;
  case 1:
    deflated = MutateBytes(deflated, deflated.size() + 16);
    content = Inflate(deflated, taken);
    break;
  case 2:
    header = MakeHeader(random);
    break;
  case 3:
    header = CompressInSections(content, random());
    deflated = header.substr(FindDeflated(header), header.size() - FindDeflated(header) - 8);
    header.resize(FindDeflated(header));
    break;
  case 4:
    MutateTable(header, random);
    break;
  default:  // another member
    rest += file;
    break;
  }
  if (header.size() < 10) header = MakeHeader(random);
  const std::size_t length = content.size() + (random() % 4 == 0 ? random() % 3 - 1 : 0);
  std::string out = header + deflated;
  AppendInteger(out, libdeflate_crc32(0, content.data(), content.size()) ^ (random() % 16 == 0 ? 1U : 0U));
  AppendInteger(out, static_cast<std::uint32_t>(length));
  if (random() % 4 != 0) out += rest;
  return ReturnInput(out, data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog log;
  const std::string file(reinterpret_cast<const char*>(data), size);
  const std::shared_ptr<RawBuffer> content =
      GzBuffer::FromMemory(reinterpret_cast<const char*>(data), size, "memory");
  MIREL_FUZZ_CHECK(IsSame(content, FromMemory(WithoutExtraField(file))),
                   "An extra field changes the content");
  const std::string path = FuzzFolder() + "input.gz";
  WriteFile(path, file);
  MIREL_FUZZ_CHECK(IsSame(content, GzBuffer::FromFile(path)), "Memory and file give different contents");
  if (content) CheckContent(file, *content);
  return 0;
}

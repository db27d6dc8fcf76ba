#include <Programs/mirel/Web/TightGzip.h>

#include <Programs/mirel/LogNotes.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <libdeflate.h>

#include <memory>
#include <new>
#include <utility>

namespace mirel {

namespace {

constexpr int kHighestLevel = 12;

}  // namespace

std::string TightGzip::Compress(const std::string& content) {
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(kHighestLevel), &libdeflate_free_compressor);
  if (!compressor) {
    throw std::bad_alloc();
  }
  std::string file(libdeflate_gzip_compress_bound(compressor.get(), content.size()), '\0');
  file.resize(
      libdeflate_gzip_compress(compressor.get(), content.data(), content.size(), file.data(), file.size()));
  return file;
}

std::string TightGzip::Repack(std::string file) {
  const LogNotes quiet;
  const std::shared_ptr<RawBuffer> content = GzBuffer::FromMemory(file.data(), file.size(), std::string());
  if (!content) {
    return file;
  }
  std::string packed = Compress(std::string(content->GetData(), content->GetSize()));
  return packed.size() < file.size() ? packed : std::move(file);
}

}  // namespace mirel

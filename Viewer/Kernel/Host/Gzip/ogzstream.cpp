#include <Viewer/Kernel/Host/Gzip/ogzstream.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>
#include <Viewer/Kernel/Host/Core/Logger.h>

#include <libdeflate.h>

#include <exception>
#include <streambuf>

namespace mirel {

namespace {

/// libdeflate's default level: level 9 makes a folder of a real assembly 4 % smaller and takes six times as long.
constexpr int kCompressionLevel = 6;

struct CompressorDeleter {
  void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

}  // namespace

/// Collects bytes in a string that can be looked at without copying it.
class ogzstream::Buffer : public std::streambuf {
 public:
  const std::string& GetContent() const { return content_; }

 protected:
  int_type overflow(int_type c) override {
    if (!traits_type::eq_int_type(c, traits_type::eof())) content_ += traits_type::to_char_type(c);
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(const char* data, std::streamsize size) override {
    content_.append(data, static_cast<std::size_t>(size));
    return size;
  }

 private:
  std::string content_;
};

ogzstream::ogzstream(const char* name, int mode)
    : std::ostream(nullptr), buffer_(std::make_unique<Buffer>()), name_(name) {
  if (mode == static_cast<int>(std::ios_base::out)) {
    rdbuf(buffer_.get());
  } else {
    setstate(std::ios_base::badbit);
  }
}

ogzstream::~ogzstream() {
  if (!rdbuf()) return;
  std::string reason;
  try {
    const std::string& content = buffer_->GetContent();
    const std::unique_ptr<libdeflate_compressor, CompressorDeleter> compressor(
        libdeflate_alloc_compressor(kCompressionLevel));
    MallocBytes file;
    std::size_t size = 0;
    if (compressor) {
      const std::size_t bound = libdeflate_gzip_compress_bound(compressor.get(), content.size());
      file.reset(static_cast<char*>(std::malloc(bound)));
      if (file) {
        size = libdeflate_gzip_compress(compressor.get(), content.data(), content.size(), file.get(), bound);
      }
    }
    if (bad()) {
      reason =
          "part of the content was lost";  // an exception while the content was collected, for want of memory
    } else if (size == 0) {
      reason = "out of memory";
    } else if (ReplaceFile(name_, file.get(), size, reason)) {
      return;
    }
  } catch (const std::exception& e) {
    reason = e.what();
  }
  MIREL_HOST_FAILURE("Cannot write %s: %s", name_.c_str(), reason.c_str());
}

void ogzstream::write_str(const std::string& text) {
  write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace mirel

#include <Viewer/Kernel/Host/Gzip/ogzstream.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Gzip/GzSections.h>

#include <exception>
#include <new>
#include <streambuf>

namespace mirel {

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
    if (bad()) {  // an exception while the content was collected, for want of memory
      reason = "part of the content was lost";
    } else {
      const std::string file = CompressGzip(buffer_->GetContent());
      if (ReplaceFile(name_, file.data(), file.size(), reason)) return;
    }
  } catch (const std::bad_alloc&) {
    reason = "out of memory";
  } catch (const std::exception& e) {
    reason = e.what();
  }
  MIREL_HOST_FAILURE("Cannot write %s: %s", name_.c_str(), reason.c_str());
}

void ogzstream::write_str(const std::string& text) {
  write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace mirel

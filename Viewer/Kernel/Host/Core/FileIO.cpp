#include <Viewer/Kernel/Host/Core/FileIO.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace mirel {

namespace fs = std::filesystem;

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File Open(const fs::path& path, const char* mode) {
#if defined(_WIN32)
  return File(_wfopen(path.c_str(), std::wstring(mode, mode + std::strlen(mode)).c_str()));
#else
  return File(std::fopen(path.c_str(), mode));
#endif
}

bool FlushToDisk(std::FILE* file) {
  if (std::fflush(file) != 0) return false;
#if defined(_WIN32)
  return _commit(_fileno(file)) == 0;
#else
  // Some file systems have nothing to flush and say so.
  return fsync(fileno(file)) == 0 || errno == EINVAL || errno == ENOTSUP;
#endif
}

std::string LastError() {
  return std::generic_category().message(errno);
}

bool WriteAside(const fs::path& path, const char* data, std::size_t size, std::string& reason) {
  File file = Open(path, "wbx");
  if (!file) {
    reason = LastError();
    return false;
  }
  if (std::fwrite(data, 1, size, file.get()) != size || !FlushToDisk(file.get())) {
    reason = LastError();
    return false;
  }
  // Network file systems report a full disk as late as here.
  if (std::fclose(file.release()) != 0) {
    reason = LastError();
    return false;
  }
  return true;
}

}  // namespace

bool ReadWholeFile(const std::string& path, MallocBytes& bytes, std::size_t& size, std::string& reason) {
  try {
    const fs::path name = fs::u8path(path);
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    if (status.type() == fs::file_type::not_found || status.type() == fs::file_type::none) {
      reason = error ? error.message() : std::make_error_code(std::errc::no_such_file_or_directory).message();
      return false;
    }
    if (!fs::is_regular_file(status)) {
      reason = "not a regular file";
      return false;
    }
    const std::uintmax_t fileSize = fs::file_size(name, error);
    const File file = error ? File() : Open(name, "rb");
    if (!file) {
      reason = error ? error.message() : LastError();
      return false;
    }
    MallocBytes content(static_cast<char*>(std::malloc(fileSize > 0 ? fileSize : 1)));
    if (!content) {
      reason = "out of memory";
      return false;
    }
    const std::size_t got = std::fread(content.get(), 1, fileSize, file.get());
    if (got != fileSize) {
      reason = std::ferror(file.get()) ? LastError() : "the file became shorter while it was read";
      return false;
    }
    bytes = std::move(content);
    size = got;
    return true;
  } catch (const std::exception& e) {  // text that is no path in the system's encoding
    reason = e.what();
    return false;
  }
}

bool ReplaceFile(const std::string& path, const char* data, std::size_t size, std::string& reason) {
  try {
    const fs::path name = fs::u8path(path);
    // A short name of its own length, so that a long but valid name can still be written.
    const fs::path aside = name.parent_path() / (".mirel-" + ObjectId::NewId().toString());
    std::error_code error;
    bool done = WriteAside(aside, data, size, reason);
    if (done) {
      fs::rename(aside, name, error);
      if (error) reason = error.message();
      done = !error;
    }
    if (!done) {
      std::error_code ignored;
      fs::remove(aside, ignored);
    }
    return done;
  } catch (const std::exception& e) {
    reason = e.what();
    return false;
  }
}

}  // namespace mirel

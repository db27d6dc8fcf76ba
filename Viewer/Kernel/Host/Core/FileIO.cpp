#include <Viewer/Kernel/Host/Core/FileIO.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#include <io.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
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

std::string LastError() {
  return std::generic_category().message(errno);
}

/// Opens a regular file for reading and tells its size. An empty pointer, with the reason, when it is none.
File OpenRegular(const fs::path& path, std::uint64_t& size, std::string& reason) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    reason = error ? error.message() : std::make_error_code(std::errc::no_such_file_or_directory).message();
    return nullptr;
  }
  constexpr const char* kNotRegular = "not a regular file";
  if (!fs::is_regular_file(status)) {
    reason = kNotRegular;
    return nullptr;
  }
#if defined(_WIN32)
  size = fs::file_size(path, error);
  File file = error ? File() : Open(path, "rb");
  if (!file) reason = error ? error.message() : LastError();
  return file;
#else
  // It may have become something else by now: a pipe must not make this wait.
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    reason = LastError();
    return nullptr;
  }
  File file(fdopen(descriptor, "rb"));
  struct stat now = {};
  if (!file || fstat(descriptor, &now) != 0) {
    reason = LastError();
    if (!file) close(descriptor);
    return nullptr;
  }
  if (!S_ISREG(now.st_mode)) {
    reason = kNotRegular;
    return nullptr;
  }
  size = static_cast<std::uint64_t>(now.st_size);
  return file;
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

bool ReadGzipFile(const std::string& path, MallocBytes& bytes, std::size_t& size, std::string& reason) {
  try {
    std::uint64_t fileSize = 0;
    const File file = OpenRegular(fs::u8path(path), fileSize, reason);
    if (!file) return false;
    if (fileSize > kMaxPackedBytes) {
      reason = "the file is too large";
      return false;
    }
    if (fileSize > MemoryBudget::GetLimit()) {
      reason = "the file would take more memory than the limit allows";
      return false;
    }
    // A file may say that it is long and take no place on the disk: its beginning comes before the room for it.
    constexpr std::string_view kMagic = "\x1f\x8b";
    char begin[kMagic.size()];
    if (fileSize < kMagic.size() || std::fread(begin, 1, kMagic.size(), file.get()) != kMagic.size() ||
        std::string_view(begin, kMagic.size()) != kMagic) {
      reason = std::ferror(file.get()) ? LastError() : "not a gzip file";
      return false;
    }
    MallocBytes content(static_cast<char*>(std::malloc(static_cast<std::size_t>(fileSize))));
    if (!content) {
      reason = "out of memory";
      return false;
    }
    std::memcpy(content.get(), begin, kMagic.size());
    const std::size_t rest = static_cast<std::size_t>(fileSize) - kMagic.size();
    if (std::fread(content.get() + kMagic.size(), 1, rest, file.get()) != rest) {
      reason = std::ferror(file.get()) ? LastError() : "the file became shorter while it was read";
      return false;
    }
    bytes = std::move(content);
    size = static_cast<std::size_t>(fileSize);
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

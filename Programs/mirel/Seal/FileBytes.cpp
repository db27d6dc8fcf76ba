#include <Programs/mirel/Seal/FileBytes.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <system_error>
#include <vector>

#if defined(_WIN32)
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Without waiting, should it be a pipe.
File OpenForReading(const fs::path& path) {
#if defined(_WIN32)
  return File(_wfopen(path.c_str(), L"rb"));
#else
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  return File(descriptor < 0 ? nullptr : fdopen(descriptor, "rb"));
#endif
}

File OpenForWriting(const fs::path& path) {
#if defined(_WIN32)
  return File(_wfopen(path.c_str(), L"wbx"));
#else
  return File(std::fopen(path.c_str(), "wbxe"));
#endif
}

// Some file systems have nothing to flush and say so.
bool Flush(std::FILE* file) {
#if defined(_WIN32)
  return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
#else
  return std::fflush(file) == 0 && (fsync(fileno(file)) == 0 || errno == EINVAL || errno == ENOTSUP);
#endif
}

bool Fail(std::string& reason) {
  reason = std::generic_category().message(errno);
  return false;
}

}  // namespace

bool FileBytes::Read(const std::string& path, std::uint64_t limit, const Take& take, std::string& reason) {
  const fs::path name = fs::u8path(path);
  std::error_code failure;
  const fs::file_status status = fs::status(name, failure);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    reason = "not a regular file";
    return false;
  }
  const File file = OpenForReading(name);
  if (!file) {
    return Fail(reason);
  }
  std::vector<char> block(1 << 16);
  std::uint64_t size = 0;
  for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), file.get())) > 0;) {
    size += count;
    if (size > limit) {
      reason = "the file is too large";
      return false;
    }
    take(block.data(), count);
  }
  return std::ferror(file.get()) == 0 || Fail(reason);
}

bool FileBytes::Write(const std::string& path, const std::string& content, std::string& reason) {
  File file = OpenForWriting(fs::u8path(path));
  const bool written = file && std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() &&
                       Flush(file.get());
  // Network file systems report a full disk as late as when it is closed.
  return (written && std::fclose(file.release()) == 0) || Fail(reason);
}

bool FileBytes::Replace(const std::string& path, const std::string& content, std::string& reason) {
  const fs::path target = fs::u8path(path);
  fs::path aside = target;
  aside.replace_filename("." + std::to_string(std::random_device()()) + ".part");
  std::error_code failure;
  if (Write(aside.u8string(), content, reason)) {
    fs::rename(aside, target, failure);
    if (!failure) {
      return true;
    }
    reason = failure.message();
  }
  fs::remove(aside, failure);
  return false;
}

}  // namespace mirel

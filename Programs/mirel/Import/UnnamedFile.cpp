#include <Programs/mirel/Import/UnnamedFile.h>

#include <cerrno>
#include <system_error>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#else
#include <cstdio>
#include <filesystem>
#include <random>
#endif

namespace mirel {

#if defined(__linux__)

UnnamedFile::UnnamedFile(const char* data, std::size_t size) : file_(memfd_create("mirel", MFD_CLOEXEC)) {
  for (std::size_t done = 0; file_ >= 0 && done < size;) {
    const ssize_t count = write(file_, data + done, size - done);
    if (count < 0 && errno != EINTR) {
      error_ = std::generic_category().message(errno);
      return;
    }
    done += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  if (file_ < 0) {
    error_ = std::generic_category().message(errno);
  }
  path_ = "/proc/self/fd/" + std::to_string(file_);
}

UnnamedFile::~UnnamedFile() {
  if (file_ >= 0) {
    close(file_);
  }
}

#else

namespace fs = std::filesystem;

UnnamedFile::UnnamedFile(const char* data, std::size_t size) {
  std::error_code failure;
  std::random_device random;
  const fs::path path =
      fs::temp_directory_path(failure) / ("mirel-" + std::to_string(random()) + std::to_string(random()));
  std::FILE* const file = failure ? nullptr : std::fopen(path.string().c_str(), "wbx");
  if (file == nullptr) {
    error_ = failure ? failure.message() : std::generic_category().message(errno);
    return;
  }
  path_ = path.u8string();
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write, failure);
  const bool written = std::fwrite(data, 1, size, file) == size;
  if (std::fclose(file) != 0 || !written) {
    error_ = std::generic_category().message(errno);
  }
}

UnnamedFile::~UnnamedFile() {
  if (!path_.empty()) {
    std::error_code ignored;
    fs::remove(fs::u8path(path_), ignored);
  }
}

#endif

}  // namespace mirel

#include <Programs/mirel/Save/FolderLock.h>

#if !defined(_WIN32)
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace mirel {

FolderLock::~FolderLock() {
  Release();
}

#if defined(_WIN32)

void FolderLock::Release() {}

FolderLock::Result FolderLock::Take(const std::filesystem::path&) {
  return Result::kUnsupported;
}

bool FolderLock::IsStillOf(const std::filesystem::path&) const {
  return true;
}

#else

void FolderLock::Release() {
  if (descriptor_ >= 0) {
    close(descriptor_);
    descriptor_ = -1;
  }
}

FolderLock::Result FolderLock::Take(const std::filesystem::path& folder) {
  Release();
  descriptor_ = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor_ < 0) {
    return errno == ENOENT ? Result::kBusy : Result::kUnsupported;
  }
  if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
    return Result::kTaken;
  }
  const bool busy = errno == EWOULDBLOCK;
  Release();
  return busy ? Result::kBusy : Result::kUnsupported;
}

bool FolderLock::IsStillOf(const std::filesystem::path& folder) const {
  struct stat taken = {};
  struct stat there = {};
  return descriptor_ < 0 || (fstat(descriptor_, &taken) == 0 && stat(folder.c_str(), &there) == 0 &&
                             taken.st_dev == there.st_dev && taken.st_ino == there.st_ino);
}

#endif

}  // namespace mirel

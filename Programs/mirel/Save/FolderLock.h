#pragma once

#include <filesystem>

namespace mirel {

/// Marks a folder as one that a living process uses. The mark goes with the process, however that ends, and leaves
/// nothing on the disk.
class FolderLock {
 public:
  enum class Result {
    kTaken,
    kBusy,        ///< another one holds it, or the folder is gone
    kUnsupported  ///< the system cannot do this: nothing is known
  };

  FolderLock() = default;
  /// Gives the folder free.
  ~FolderLock();

  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  /// Takes the folder, in place of one taken before. Does not wait.
  Result Take(const std::filesystem::path& folder);

  /// Whether the folder taken is the one that a path leads to now; true when none is taken.
  bool IsStillOf(const std::filesystem::path& folder) const;

 private:
  void Release();

  int descriptor_ = -1;
};

}  // namespace mirel

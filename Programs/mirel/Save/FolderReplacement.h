#pragma once

#include <filesystem>
#include <string>

namespace mirel {

/// Writes a model folder aside and puts it in place whole: whoever looks at the folder sees the old one or
/// the new one, never a mixture, whatever happens in between.
///
/// The folder aside is a hidden sibling of the target. It is removed when this object goes without `Commit`,
/// and when the process is interrupted (SIGINT, SIGTERM, SIGHUP; Ctrl-C on Windows).
class FolderReplacement {
 public:
  /// `target` is a narrow path (UTF-8).
  explicit FolderReplacement(const std::string& target);
  ~FolderReplacement();

  FolderReplacement(const FolderReplacement&) = delete;
  FolderReplacement& operator=(const FolderReplacement&) = delete;

  /// Why the target may not be written; empty when it may. Nothing is touched. A target that exists must be a
  /// model folder, `force` must be set, and the folder must hold nothing but what a model folder holds: what
  /// other files it has would be deleted with it.
  std::string Check(bool force) const;

  /// Makes missing parents and the empty folder aside. False with a reason when that fails.
  bool Begin(std::string& reason);

  /// The folder aside, as a narrow path with a separator at its end.
  std::string GetFolder() const;

  /// Puts the folder in place. False with a reason when that fails: then the target is what it was.
  bool Commit(std::string& reason);

 private:
  std::filesystem::path target_;
  std::filesystem::path aside_;  // empty when there is none
};

}  // namespace mirel

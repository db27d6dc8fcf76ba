#pragma once

#include <Programs/mirel/Save/FolderLock.h>

#include <filesystem>
#include <string>
#include <vector>

namespace mirel {

/// Writes a model folder aside and puts it in place whole: whoever looks at the folder sees the old one or
/// the new one, never a mixture, whatever happens in between.
///
/// The folder aside is a hidden sibling of the target. It is removed when this object goes without `Commit`,
/// and when the process is interrupted (SIGINT, SIGTERM, SIGHUP; Ctrl-C on Windows). One that a killed process left
/// is removed by the next save of a folder beside it.
///
/// Any number of processes may replace one folder at once: it shows one of theirs, whole.
class FolderReplacement {
 public:
  /// `target` is a narrow path (UTF-8). `force` allows to replace a model folder that is there. `others` are names of files
  /// that such a folder holds too, beside those of the model.
  FolderReplacement(const std::string& target, bool force, std::vector<std::string> others = {});
  ~FolderReplacement();

  FolderReplacement(const FolderReplacement&) = delete;
  FolderReplacement& operator=(const FolderReplacement&) = delete;

  /// Why the target may not be written; empty when it may. Nothing is touched. A target that exists must be a
  /// model folder, or what an interrupted save has left of one, `force` must be set, and the folder must hold nothing
  /// but what a model folder holds: what other files it has would be deleted with it. It must be possible to delete it, and
  /// neither it nor a folder in it may be a mount. And the target must not lie inside another model folder, as that one
  /// could not be replaced any more.
  std::string Check() const;

  /// Makes missing parents and the empty folder aside, and removes what killed processes left beside it. False with
  /// a reason when that fails.
  bool Begin(std::string& reason);

  /// The folder aside, as a narrow path with a separator at its end.
  std::string GetFolder() const;

  /// Puts the folder in place, unless it may not be written any more. False with a reason when that fails: then
  /// the target is what it was.
  bool Commit(std::string& reason);

  /// Removes what killed processes have left beside a target; `Begin` does so too.
  static void RemoveAbandoned(const std::string& target);

  /// Removes the folder aside, which is the old one after `Commit`. Gives the path of what is left of it, and why; empty
  /// when all is gone. The destructor does the same without a word.
  std::string RemoveAside();

 private:
  bool MakeAside(std::error_code& failure);

  const bool force_;
  const std::vector<std::string> others_;
  std::filesystem::path target_;
  std::filesystem::path aside_;  // empty when there is none
  FolderLock lock_;              // on the folder aside, so that nobody takes it for abandoned
};

}  // namespace mirel

#pragma once

#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// The hidden folder inside a model folder in which a save collects its files until all are there. Until then the
/// model folder shows the model that it had, also when the process is killed or the disk is full.
///
/// `PutInPlace` then moves the old files into the hidden folder, the index first, and the new ones to their names, the
/// index last. So a kill in between leaves a folder without an index, which is no model, and never a mixture of two.
///
/// Of two saves into one folder at once at most one comes to its end: each removes the hidden folders of all others,
/// those that killed processes left included, before it touches the model, and every step after that is a move out
/// of its own hidden folder or into it, which fails once another save has removed that.
class AsideFolder {
 public:
  /// `folder` is the model folder's path with a separator at its end.
  explicit AsideFolder(const std::string& folder);
  /// Removes the hidden folder with all that is left in it, and the model folder when `Make` made it and it is empty.
  ~AsideFolder();

  AsideFolder(const AsideFolder&) = delete;
  AsideFolder& operator=(const AsideFolder&) = delete;

  /// Makes the model folder, if need be, and the hidden one. False, after a message at level 3, when that fails.
  bool Make();

  /// The hidden folder's path with a separator at its end.
  const std::string& GetPath() const { return path_; }

  /// Puts index.gz and as many packages of each kind in place of those that are there. Files that belong to no model
  /// are left alone. False, after a message at level 3, when a file is missing, or one cannot be moved: all is then as it
  /// was.
  bool PutInPlace(unsigned int shapePackages, unsigned int grepPackages);

 private:
  bool CheckFiles(const std::vector<std::string>& names) const;
  bool RemoveOthers() const;
  bool MoveOldPackages(const std::string& kind);
  bool Move(const std::string& from, const std::string& to);
  void MoveBack();
  bool Refuse(const std::string& reason) const;

  const std::string folder_;
  const std::string path_;
  bool isNew_ = false;  // the model folder
  bool made_ = false;
  std::vector<std::pair<std::string, std::string>> moves_;  // from, to
};

}  // namespace mirel

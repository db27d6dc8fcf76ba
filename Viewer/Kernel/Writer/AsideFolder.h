#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

struct PackageCounts;

/// The hidden folders inside a model folder in which a save collects its files until all are there. Until then the
/// model folder shows the model that it had, also when the process is killed or the disk is full.
///
/// One lies in the model folder itself, one in each of its folders of packages: those may be on other file systems, and files
/// can be renamed within one only.
///
/// `PutInPlace` then moves the old files into the hidden folders, the index first, and the new ones to their names, the
/// index last. So a kill in between leaves a folder without an index, which is no model, and never a mixture of two.
///
/// Of two saves into one folder at once at most one comes to its end: each takes the hidden folders of all others,
/// those that killed processes left included, into its own before it touches the model, and every step after that is a
/// move out of its own hidden folders or into them, which fails once another save has taken those.
class AsideFolder {
 public:
  /// `folder` is the model folder's path with a separator at its end. Without one it is the beginning of the files' names.
  explicit AsideFolder(const std::string& folder);
  /// Removes the hidden folders with all that is left in them and, unless the files are in place, those folders that
  /// `Make` made around them and that are empty.
  ~AsideFolder();

  AsideFolder(const AsideFolder&) = delete;
  AsideFolder& operator=(const AsideFolder&) = delete;

  /// Makes the model folder, if need be, and its hidden one, and with packages the same for the folders of packages. False,
  /// after messages at level 3, when that fails.
  bool Make(bool withPackages);

  /// Where the files are to be written: paths of hidden folders, each with a separator at its end.
  const std::string& GetIndexPath() const { return places_[kIndexPlace].aside; }
  const std::string& GetShapePath() const { return places_[kShapePlace].aside; }
  const std::string& GetGRepPath() const { return places_[kGRepPlace].aside; }

  /// Puts index.gz and as many packages of each kind in place of the files of the model that is there: its index, the
  /// packages that this counts, and what belongs beside an index. All else is left alone, but for a file that has the name
  /// of a new one. False, after a message at level 3, when a file is missing, or one cannot be moved: all is then as it was.
  bool PutInPlace(unsigned int shapePackages, unsigned int grepPackages);

 private:
  /// A folder and the hidden one in it, both with a separator at the end (but see the constructor).
  struct Place {
    std::string folder;
    std::string aside;
    bool isNew = false;   // the folder was made here
    bool isMade = false;  // the hidden one
  };
  enum : std::size_t { kIndexPlace, kShapePlace, kGRepPlace };
  using Moves = std::vector<std::pair<std::string, std::string>>;  // from, to

  static bool MakePlace(Place& place);
  Moves ListNew(unsigned int shapePackages, unsigned int grepPackages) const;
  bool CheckFiles(const Moves& files) const;
  bool TakeOthers(const Place& place) const;
  bool FindOld(PackageCounts& counts) const;
  bool MoveOld(unsigned int shapePackages, unsigned int grepPackages);
  bool MoveOldPackages(const Place& place, unsigned int count);
  bool MoveAside(const Place& place, const std::string& name);
  bool Move(const std::string& from, const std::string& to);
  void MoveBack();
  bool Refuse(const std::string& reason) const;

  std::array<Place, 3> places_;  // the model folder and those of the packages
  bool inPlace_ = false;
  Moves moves_;  // those done
};

}  // namespace mirel

#include <Viewer/Kernel/Writer/AsideFolder.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Model/PackageCounts.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr const char* kOld = "old-";
constexpr const char* kNoFolders = "its folders cannot be made";
constexpr const char* kFaster = "another save into the folder was faster";

fs::file_status Status(const std::string& path) {
  std::error_code ignored;
  return fs::symlink_status(fs::u8path(path), ignored);
}

bool Exists(const std::string& path) {
  return fs::exists(Status(path));
}

// What an index counts; nothing when there is none.
PackageCounts CountPackages(const std::string& index) {
  const std::shared_ptr<RawBuffer> buffer = Exists(index) ? GzBuffer::FromFile(index) : nullptr;
  return buffer ? PackageCounts(buffer->GetData()) : PackageCounts();
}

}  // namespace

AsideFolder::AsideFolder(const std::string& folder) {
  const std::string hidden = std::string(FolderFiles::kHidden) + ObjectId::NewId().toString() + "/";
  places_[kIndexPlace].folder = folder;
  places_[kShapePlace].folder = folder + FolderFiles::kShapes + "/";
  places_[kGRepPlace].folder = folder + FolderFiles::kGReps + "/";
  for (Place& place : places_)
    place.aside = place.folder + hidden;
}

AsideFolder::~AsideFolder() {
  try {
    std::error_code ignored;
    for (auto place = places_.rbegin(); place != places_.rend(); ++place) {
      if (place->isMade) fs::remove_all(fs::u8path(place->aside), ignored);
      if (place->isNew && !inPlace_)
        fs::remove(fs::u8path(place->folder), ignored);  // unless it holds anything
    }
  } catch (const std::exception&) {  // want of memory; the next save removes the folders
  }
}

bool AsideFolder::Make(bool withPackages) {
  const bool made = MakePlace(places_[kIndexPlace]) &&
                    (!withPackages || (MakePlace(places_[kShapePlace]) && MakePlace(places_[kGRepPlace])));
  return made || Refuse(kNoFolders);
}

bool AsideFolder::MakePlace(Place& place) {
  // The empty path stands for the current folder.
  place.isNew = !place.folder.empty() && !Exists(place.folder);
  place.isMade =
      (place.folder.empty() || PathUtil::CreateFolders(place.folder)) && PathUtil::CreateFolders(place.aside);
  return place.isMade;
}

bool AsideFolder::Refuse(const std::string& reason) const {
  MIREL_FAILURE("%s is not saved and stays as it was: %s", places_[kIndexPlace].folder.c_str(),
                reason.c_str());
  return false;
}

bool AsideFolder::PutInPlace(unsigned int shapePackages, unsigned int grepPackages) {
  try {
    const Moves files = ListNew(shapePackages, grepPackages);
    if (!CheckFiles(files)) return false;
    for (Place& place : places_) {
      // Of a folder of packages that the new model does not need, those of the old one are taken.
      if (!place.isMade && Exists(place.folder) && !MakePlace(place)) return Refuse(kNoFolders);
      if (!TakeOthers(place)) return false;
    }
    inPlace_ = MoveOld(shapePackages, grepPackages) &&
               std::all_of(files.begin(), files.end(),
                           [&](const auto& file) { return Move(file.first, file.second); });
    if (!inPlace_) MoveBack();
  } catch (const std::exception& e) {  // text that is no path in the system's encoding, or want of memory
    MIREL_FAILURE("%s is not saved: %s", places_[kIndexPlace].folder.c_str(), e.what());
  }
  return inPlace_;
}

AsideFolder::Moves AsideFolder::ListNew(unsigned int shapePackages, unsigned int grepPackages) const {
  Moves files;
  const auto add = [&](const Place& place, const std::string& name) {
    files.emplace_back(place.aside + name, place.folder + name);
  };
  for (unsigned int n = 1; n <= shapePackages; ++n)
    add(places_[kShapePlace], FolderFiles::GetPackageName(n));
  for (unsigned int n = 1; n <= grepPackages; ++n)
    add(places_[kGRepPlace], FolderFiles::GetPackageName(n));
  add(places_[kIndexPlace], FolderFiles::kIndex);
  return files;
}

bool AsideFolder::CheckFiles(const Moves& files) const {
  for (const auto& [from, to] : files) {
    if (!Exists(from)) return Refuse(to + " could not be written");
    const fs::file_status status = Status(to);
    if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_symlink(status)) {
      return Refuse(to + " is in the way: it is not a file");
    }
  }
  return true;
}

bool AsideFolder::TakeOthers(const Place& place) const {
  if (!place.isMade) return true;  // there is no such folder
  // The hidden folders' names begin with the last part of this path.
  const fs::path any = fs::u8path(place.folder + std::string(FolderFiles::kHidden));
  const std::string before =
      any.filename().u8string().substr(0, any.filename().u8string().size() - FolderFiles::kHidden.size());
  const std::string own = fs::u8path(place.aside).parent_path().filename().u8string();
  std::vector<std::string> others;
  std::error_code error;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(any.has_parent_path() ? any.parent_path() : fs::path("."), error)) {
    const std::string name = entry.path().filename().u8string();
    if (name != own && name.compare(0, before.size(), before) == 0 &&
        FolderFiles::IsHidden(std::string_view(name).substr(before.size()))) {
      others.push_back(name.substr(before.size()));
    }
  }
  if (error) return Refuse("it cannot be listed: " + error.message());
  for (const std::string& name : others) {
    const std::string path = place.folder + name;
    if (!fs::is_directory(Status(path))) continue;
    fs::rename(fs::u8path(path), fs::u8path(place.aside + name), error);
    if (error && Exists(path)) {
      return Refuse(Exists(place.aside) ? path + " cannot be moved: " + error.message() : kFaster);
    }
  }
  return true;
}

bool AsideFolder::FindOld(PackageCounts& counts) const {
  const auto take = [&](const std::string& index) {
    const PackageCounts found = CountPackages(index);
    counts.shapes = std::max(counts.shapes, found.shapes);
    counts.greps = std::max(counts.greps, found.greps);
  };
  const Place& place = places_[kIndexPlace];
  if (Exists(place.folder + FolderFiles::kIndex)) {
    take(place.folder + FolderFiles::kIndex);
    return true;
  }
  // Saves that were killed while they moved files have left packages, and the indexes of these in their hidden folders.
  bool found = false;
  std::error_code none;
  for (fs::recursive_directory_iterator entry(fs::u8path(place.aside), none), end; entry != end;
       entry.increment(none)) {
    const std::string name = entry->path().filename().u8string();
    if (entry.depth() > 0 &&
        (name == FolderFiles::kIndex || name == std::string(kOld) + FolderFiles::kIndex)) {
      take(entry->path().u8string());
      found = true;
    }
  }
  return found;
}

bool AsideFolder::MoveOld(unsigned int shapePackages, unsigned int grepPackages) {
  PackageCounts counts;
  if (FindOld(counts)) {
    std::vector<std::string> names{FolderFiles::kIndex};
    names.insert(names.end(), std::begin(FolderFiles::kBeside), std::end(FolderFiles::kBeside));
    if (!std::all_of(names.begin(), names.end(),
                     [&](const std::string& name) { return MoveAside(places_[kIndexPlace], name); })) {
      return false;
    }
  }
  return MoveOldPackages(places_[kShapePlace], std::max(counts.shapes, shapePackages)) &&
         MoveOldPackages(places_[kGRepPlace], std::max(counts.greps, grepPackages));
}

// The count comes from a file and may be anything: what is there is looked at.
bool AsideFolder::MoveOldPackages(const Place& place, unsigned int count) {
  std::error_code none;
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::u8path(place.folder), none)) {
    const std::string name = entry.path().filename().u8string();
    const unsigned int number = FolderFiles::GetPackageNumber(name);
    if (number > 0 && number <= count) names.push_back(name);
  }
  return std::all_of(names.begin(), names.end(),
                     [&](const std::string& name) { return MoveAside(place, name); });
}

bool AsideFolder::MoveAside(const Place& place, const std::string& name) {
  const fs::file_status status = Status(place.folder + name);
  return !fs::exists(status) || fs::is_directory(status) ||
         Move(place.folder + name, place.aside + kOld + name);
}

bool AsideFolder::Move(const std::string& from, const std::string& to) {
  std::error_code error;
  fs::rename(fs::u8path(from), fs::u8path(to), error);
  if (!error) {
    moves_.emplace_back(from, to);
    return true;
  }
  const bool isRobbed = std::any_of(places_.begin(), places_.end(),
                                    [](const Place& place) { return place.isMade && !Exists(place.aside); });
  MIREL_FAILURE("Cannot move %s to %s: %s", from.c_str(), to.c_str(),
                isRobbed ? kFaster : error.message().c_str());
  return false;
}

// Where another save was faster, each of these moves fails as well.
void AsideFolder::MoveBack() {
  for (auto move = moves_.rbegin(); move != moves_.rend(); ++move) {
    std::error_code error;
    fs::rename(fs::u8path(move->second), fs::u8path(move->first), error);
    if (!error) continue;
    MIREL_FAILURE("%s is not saved, and what was there cannot be put back",
                  places_[kIndexPlace].folder.c_str());
    return;
  }
  Refuse("its files cannot be put in place");
}

}  // namespace mirel

#include <Viewer/Kernel/Writer/AsideFolder.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr const char* kPrefix = ".mirel-";
constexpr const char* kIndex = "index.gz";
constexpr const char* kShapes = "model/";
constexpr const char* kGReps = "grep/";

bool IsNumber(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string PackageName(const std::string& kind, unsigned int n) {
  return kind + std::to_string(n) + ".gz";
}

/// Whether a file has a name that the writer gives to packages.
bool IsPackageName(const std::string& name) {
  const std::size_t digits = name.size() > 3 ? name.size() - 3 : 0;
  return IsNumber(name.substr(0, digits)) && name[0] != '0' && name.substr(digits) == ".gz";
}

bool Exists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(fs::u8path(path), ignored));
}

}  // namespace

AsideFolder::AsideFolder(const std::string& folder)
    : folder_(folder), path_(folder + kPrefix + ObjectId::NewId().toString() + "/") {}

AsideFolder::~AsideFolder() {
  try {
    std::error_code ignored;
    if (made_) fs::remove_all(fs::u8path(path_), ignored);
    if (isNew_) fs::remove(fs::u8path(folder_), ignored);  // which goes only when it is empty
  } catch (const std::exception&) {                        // want of memory; the next save removes the folder
  }
}

bool AsideFolder::Make() {
  isNew_ = !Exists(folder_);
  // The empty path stands for the current folder.
  made_ = (folder_.empty() || PathUtil::CreateFolders(folder_)) && PathUtil::CreateFolders(path_);
  return made_;
}

bool AsideFolder::Refuse(const std::string& reason) const {
  MIREL_FAILURE("%s is not saved and stays as it was: %s", folder_.c_str(), reason.c_str());
  return false;
}

bool AsideFolder::PutInPlace(unsigned int shapePackages, unsigned int grepPackages) {
  try {
    std::vector<std::string> names;
    for (unsigned int n = 1; n <= shapePackages; ++n)
      names.push_back(PackageName(kShapes, n));
    for (unsigned int n = 1; n <= grepPackages; ++n)
      names.push_back(PackageName(kGReps, n));
    names.emplace_back(kIndex);
    if (!CheckFiles(names) || !RemoveOthers()) return false;
    for (const char* const kind : {kShapes, kGReps}) {
      if (Exists(path_ + kind) && !PathUtil::CreateFolders(folder_ + kind)) return false;
    }
    if ((!Exists(folder_ + kIndex) || Move(folder_ + kIndex, path_ + "old-index.gz")) &&
        MoveOldPackages(kShapes) && MoveOldPackages(kGReps) &&
        std::all_of(names.begin(), names.end(),
                    [&](const std::string& name) { return Move(path_ + name, folder_ + name); })) {
      return true;
    }
    MoveBack();
  } catch (const std::exception& e) {  // text that is no path in the system's encoding, or want of memory
    MIREL_FAILURE("%s is not saved: %s", folder_.c_str(), e.what());
  }
  return false;
}

bool AsideFolder::CheckFiles(const std::vector<std::string>& names) const {
  for (const std::string& name : names) {
    if (!Exists(path_ + name)) return Refuse(name + " could not be written");
    std::error_code ignored;
    const fs::file_status status = fs::symlink_status(fs::u8path(folder_ + name), ignored);
    if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_symlink(status)) {
      return Refuse(folder_ + name + " is in the way: it is not a file");
    }
  }
  return true;
}

bool AsideFolder::RemoveOthers() const {
  const fs::path own = fs::u8path(path_).parent_path();
  const fs::path any = fs::u8path(folder_ + kPrefix);
  const std::string prefix = any.filename().u8string();
  std::error_code unlisted;
  const fs::directory_iterator entries(any.has_parent_path() ? any.parent_path() : fs::path("."), unlisted);
  if (unlisted) return Refuse("it cannot be listed: " + unlisted.message());
  for (const fs::directory_entry& entry : entries) {
    const std::string name = entry.path().filename().u8string();
    std::error_code error;
    if (name.compare(0, prefix.size(), prefix) != 0 || !IsNumber(name.substr(prefix.size())) ||
        name == own.filename().u8string() || !fs::is_directory(entry.symlink_status(error))) {
      continue;
    }
    // Its owner may put one more file into it meanwhile.
    const std::string path = entry.path().u8string();
    for (int attempt = 0; attempt < 100 && Exists(path); ++attempt)
      fs::remove_all(entry.path(), error);
    if (Exists(path)) return Refuse(path + " cannot be removed: " + error.message());
  }
  return true;
}

bool AsideFolder::MoveOldPackages(const std::string& kind) {
  std::error_code none;
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::u8path(folder_ + kind), none)) {
    const std::string name = entry.path().filename().u8string();
    std::error_code ignored;
    if (IsPackageName(name) && !fs::is_directory(entry.symlink_status(ignored))) names.push_back(name);
  }
  const std::string prefix = path_ + "old-" + kind.substr(0, kind.size() - 1) + "-";
  return std::all_of(names.begin(), names.end(),
                     [&](const std::string& name) { return Move(folder_ + kind + name, prefix + name); });
}

bool AsideFolder::Move(const std::string& from, const std::string& to) {
  std::error_code error;
  fs::rename(fs::u8path(from), fs::u8path(to), error);
  if (!error) {
    moves_.emplace_back(from, to);
    return true;
  }
  MIREL_FAILURE("Cannot move %s to %s: %s", from.c_str(), to.c_str(),
                Exists(path_) ? error.message().c_str() : "another save into the folder was faster");
  return false;
}

// Where another save was faster, each of these moves fails as well.
void AsideFolder::MoveBack() {
  for (auto move = moves_.rbegin(); move != moves_.rend(); ++move) {
    std::error_code error;
    fs::rename(fs::u8path(move->second), fs::u8path(move->first), error);
    if (!error) continue;
    MIREL_FAILURE("%s is not saved, and what was there cannot be put back", folder_.c_str());
    return;
  }
  Refuse("its files cannot be put in place");
}

}  // namespace mirel

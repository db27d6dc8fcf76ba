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

/// The number of the package with this file name; 0 when it is none. Only the form that the writer uses counts.
unsigned long long PackageNumber(const std::string& name) {
  const std::size_t digits = name.size() > 3 ? name.size() - 3 : 0;
  const std::string number = name.substr(0, digits);
  if (!IsNumber(number) || digits > 10 || number[0] == '0' || name.substr(digits) != ".gz") return 0;
  return std::stoull(number);
}

bool Exists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(fs::u8path(path), ignored));
}

}  // namespace

AsideFolder::AsideFolder(const std::string& folder)
    : folder_(folder), path_(folder + kPrefix + ObjectId::NewId().toString() + "/") {}

AsideFolder::~AsideFolder() {
  if (!made_) return;
  try {
    std::error_code ignored;
    fs::remove_all(fs::u8path(path_), ignored);
  } catch (const std::exception&) {  // want of memory; the next save removes the folder
  }
}

bool AsideFolder::Make() {
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
    if (!CheckFiles(shapePackages, grepPackages) || !RemoveOthers()) return false;
    for (const char* const kind : {kShapes, kGReps}) {
      if (Exists(path_ + kind) && !PathUtil::CreateFolders(folder_ + kind)) return false;
    }
    std::error_code error;
    if (Exists(folder_ + kIndex)) {
      fs::rename(fs::u8path(folder_ + kIndex), fs::u8path(path_ + "old-index"), error);
      if (error) return Refuse(folder_ + kIndex + " cannot be removed: " + error.message());
    }
    if (MoveOldAside(kShapes, shapePackages) && MoveOldAside(kGReps, grepPackages) &&
        MovePackages(kShapes, shapePackages) && MovePackages(kGReps, grepPackages) &&
        Move(path_ + kIndex, folder_ + kIndex)) {
      return true;
    }
    MIREL_FAILURE("%s is not saved and is no model folder any more: it has no index", folder_.c_str());
  } catch (const std::exception& e) {  // text that is no path in the system's encoding, or want of memory
    MIREL_FAILURE("%s is not saved: %s", folder_.c_str(), e.what());
  }
  return false;
}

bool AsideFolder::CheckFiles(unsigned int shapePackages, unsigned int grepPackages) const {
  std::vector<std::string> names{kIndex};
  for (unsigned int n = 1; n <= shapePackages; ++n)
    names.push_back(PackageName(kShapes, n));
  for (unsigned int n = 1; n <= grepPackages; ++n)
    names.push_back(PackageName(kGReps, n));
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

bool AsideFolder::MoveOldAside(const std::string& kind, unsigned int count) const {
  std::error_code none;
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::u8path(folder_ + kind), none)) {
    const std::string name = entry.path().filename().u8string();
    std::error_code ignored;
    if (PackageNumber(name) > count && fs::is_regular_file(entry.symlink_status(ignored)))
      names.push_back(name);
  }
  return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
    return Move(folder_ + kind + name, path_ + "old-" + kind.substr(0, kind.size() - 1) + "-" + name);
  });
}

bool AsideFolder::MovePackages(const std::string& kind, unsigned int count) const {
  for (unsigned int n = 1; n <= count; ++n) {
    const std::string name = PackageName(kind, n);
    if (!Move(path_ + name, folder_ + name)) return false;
  }
  return true;
}

bool AsideFolder::Move(const std::string& from, const std::string& to) const {
  std::error_code error;
  fs::rename(fs::u8path(from), fs::u8path(to), error);
  if (!error) return true;
  MIREL_FAILURE("Cannot move %s to %s: %s", from.c_str(), to.c_str(),
                Exists(path_) ? error.message().c_str() : "another save into the folder was faster");
  return false;
}

}  // namespace mirel

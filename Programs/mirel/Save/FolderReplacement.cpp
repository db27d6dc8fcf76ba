#include <Programs/mirel/Save/FolderReplacement.h>

#include <Programs/mirel/Save/InterruptCleanup.h>

#include <algorithm>
#include <cctype>
#include <random>

#if defined(__linux__)
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

bool IsPackageName(const std::string& name) {
  const std::size_t digits = name.size() > 3 ? name.size() - 3 : 0;
  return digits > 0 && name.compare(digits, 3, ".gz") == 0 &&
         std::all_of(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(digits),
                     [](unsigned char c) { return std::isdigit(c) != 0; });
}

// The first thing in a folder that no model folder holds, relative to the folder; empty when there is none.
std::string FindForeign(const fs::path& folder, std::error_code& failure) {
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
    const std::string name = entry.path().filename().u8string();
    const fs::file_status status = entry.symlink_status(failure);
    if (name == "index.gz" && fs::is_regular_file(status)) {
      continue;
    }
    if ((name != "model" && name != "grep") || !fs::is_directory(status)) {
      return name;
    }
    for (const fs::directory_entry& package : fs::directory_iterator(entry.path(), failure)) {
      const std::string file = package.path().filename().u8string();
      if (!IsPackageName(file) || !fs::is_regular_file(package.symlink_status(failure))) {
        return name + "/" + file;
      }
    }
  }
  return std::string();
}

// Swaps two folders in one step where the system can.
bool Exchange([[maybe_unused]] const fs::path& a, [[maybe_unused]] const fs::path& b) {
#if defined(__linux__) && defined(RENAME_EXCHANGE)
  return renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
#else
  return false;
#endif
}

std::string RandomHex() {
  std::random_device random;
  char text[24];
  std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  return text;
}

}  // namespace

FolderReplacement::FolderReplacement(const std::string& target) {
  std::error_code ignored;
  fs::path path = fs::absolute(fs::u8path(target), ignored).lexically_normal();
  if (!path.has_filename()) {
    path = path.parent_path();  // "folder/" names the folder
  }
  // A link to a folder stands for the folder: that is what is replaced, next to where it really lies.
  if (fs::exists(path, ignored)) {
    path = fs::canonical(path, ignored);
  }
  target_ = path;
}

FolderReplacement::~FolderReplacement() {
  if (!aside_.empty()) {
    std::error_code ignored;
    fs::remove_all(aside_, ignored);
    InterruptCleanup::Watch({});
  }
}

std::string FolderReplacement::Check(bool force) const {
  std::error_code failure;
  const fs::file_status status = fs::status(target_, failure);
  if (status.type() == fs::file_type::not_found) {
    return target_.has_filename() ? std::string() : "cannot be a model folder";
  }
  if (!fs::exists(status)) {
    return failure.message();
  }
  if (!fs::is_directory(status)) {
    return "is a file, not a folder";
  }
  if (!fs::is_regular_file(target_ / "index.gz", failure)) {
    return "exists and is not a model folder (it has no index.gz)";
  }
  if (!force) {
    return "exists already; --force replaces it";
  }
  const std::string foreign = FindForeign(target_, failure);
  if (failure) {
    return failure.message();
  }
  return foreign.empty()
             ? std::string()
             : "holds \"" + foreign + "\", which does not belong to a model folder and would be deleted";
}

bool FolderReplacement::Begin(std::string& reason) {
  std::error_code failure;
  fs::create_directories(target_.parent_path(), failure);
  if (failure) {
    reason = "its parent folder cannot be made: " + failure.message();
    return false;
  }
  for (int attempt = 0; attempt < 100; ++attempt) {
    const fs::path aside = target_.parent_path() / (".mirel-" + RandomHex());
    InterruptCleanup::Watch(aside);
    if (fs::create_directory(aside, failure)) {
      aside_ = aside;
      return true;
    }
    InterruptCleanup::Watch({});
    if (failure) {
      break;
    }
  }
  reason = "no folder can be made beside it" + (failure ? ": " + failure.message() : std::string());
  return false;
}

std::string FolderReplacement::GetFolder() const {
  return (aside_ / "").u8string();
}

bool FolderReplacement::Commit(std::string& reason) {
  std::error_code failure;
  if (!fs::exists(target_, failure)) {
    fs::rename(aside_, target_, failure);
  } else if (!Exchange(aside_, target_)) {
    // Without a swap there is a moment without any folder, but never one with half a folder.
    fs::path old = aside_;
    old += "-old";
    fs::rename(target_, old, failure);
    if (!failure) {
      fs::rename(aside_, target_, failure);
      std::error_code ignored;
      if (failure) {
        fs::rename(old, target_, ignored);
      } else {
        fs::remove_all(old, ignored);
      }
    }
  }
  if (failure) {
    reason = "the new folder cannot be put in place: " + failure.message();
    return false;
  }
  return true;  // after a swap, the destructor removes the old folder, which now lies aside
}

}  // namespace mirel

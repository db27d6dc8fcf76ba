#include <Programs/mirel/Save/FolderReplacement.h>

#include <Programs/mirel/LogNotes.h>
#include <Programs/mirel/Save/InterruptCleanup.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/PackageCounts.h>

#include <algorithm>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

// What a killed save leaves beside a model folder.
bool IsAsideName(const std::string& name) {
  constexpr std::size_t kDigits = FolderFiles::kHidden.size();
  return name.size() == kDigits + 16 && name.rfind(FolderFiles::kHidden, 0) == 0 &&
         name.find_first_not_of("0123456789abcdef", kDigits) == std::string::npos;
}

// What a folder holds, with its kinds. Another process may replace the folder meanwhile: what is not there any more does
// not count.
std::vector<std::pair<std::string, fs::file_type>> List(const fs::path& folder, std::error_code& failure) {
  std::vector<std::pair<std::string, fs::file_type>> entries;
  fs::directory_iterator entry(folder, failure);
  if (failure == std::errc::no_such_file_or_directory) {
    failure.clear();
  }
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    std::error_code unknown;
    const fs::file_type type = entry->symlink_status(unknown).type();
    if (type != fs::file_type::not_found) {
      entries.emplace_back(entry->path().filename().u8string(), type);
    }
  }
  return entries;
}

// How many packages the folder's index counts; nothing when it cannot be read.
std::optional<PackageCounts> CountPackages(const fs::path& folder) {
  const LogNotes quiet;
  const std::shared_ptr<RawBuffer> index = GzBuffer::FromFile((folder / FolderFiles::kIndex).u8string());
  return index ? std::optional<PackageCounts>(index->GetData()) : std::nullopt;
}

// The first thing in a folder that the model in it does not own, relative to the folder; empty when there is none. `others`
// are files that may be there too.
std::string FindForeign(const fs::path& folder, std::error_code& failure,
                        const std::vector<std::string>& others = {}) {
  const std::optional<PackageCounts> counts = CountPackages(folder);
  for (const auto& [name, type] : List(folder, failure)) {
    const bool isOwn =
        FolderFiles::IsFile(name) || std::find(others.begin(), others.end(), name) != others.end();
    if (FolderFiles::IsHidden(name) || (isOwn && type == fs::file_type::regular)) {
      continue;
    }
    if (!FolderFiles::IsPackageFolder(name) || type != fs::file_type::directory) {
      return name;
    }
    for (const auto& [file, fileType] : List(folder / name, failure)) {
      const std::uint32_t number = FolderFiles::GetPackageNumber(file, name);
      const bool isCounted =
          !counts || number <= (name == FolderFiles::kShapes ? counts->shapes : counts->greps);
      if (!FolderFiles::IsHidden(file) && (number == 0 || !isCounted || fileType != fs::file_type::regular)) {
        return (fs::u8path(name) / fs::u8path(file)).generic_u8string();
      }
    }
    if (failure) {
      break;
    }
  }
  return std::string();
}

// Whether a folder without an index looks as an interrupted save leaves it. An empty one does not, nor one that holds
// checksums alone, which may be those of anything.
bool IsIncomplete(const fs::path& folder) {
  std::error_code failure;
  const auto entries = List(folder, failure);
  return !std::all_of(entries.begin(), entries.end(),
                      [](const auto& entry) { return FolderFiles::IsBeside(entry.first); }) &&
         FindForeign(folder, failure).empty() && !failure;
}

// The model folder that a path leads into and that nobody could replace any more if a folder came to lie there; empty when
// there is none.
fs::path FindModelAround(const fs::path& path) {
  std::error_code failure;
  fs::path folder = fs::weakly_canonical(path.parent_path(), failure);
  for (; !failure && folder.has_relative_path(); folder = folder.parent_path()) {
    std::error_code unread;
    if (fs::is_regular_file(folder / FolderFiles::kIndex, unread) && FindForeign(folder, unread).empty() &&
        !unread) {
      return folder;
    }
  }
  return fs::path();
}

// Whether a folder is a link, or another file system begins at it.
bool IsElsewhere(const fs::path& folder) {
  std::error_code ignored;
  bool elsewhere = fs::is_symlink(fs::symlink_status(folder, ignored));
#if !defined(_WIN32)
  struct stat own = {};
  struct stat parent = {};
  elsewhere = elsewhere || (stat(folder.c_str(), &own) == 0 &&
                            stat(folder.parent_path().c_str(), &parent) == 0 && own.st_dev != parent.st_dev);
#endif
  return elsewhere;
}

// Why a model folder cannot be replaced as a whole and then deleted; empty when it can.
std::string FindObstacle(const fs::path& folder) {
  for (const char* const name : {"", FolderFiles::kShapes, FolderFiles::kGReps, FolderFiles::kDrawings}) {
    const fs::path part = *name == '\0' ? folder : folder / name;
    std::error_code ignored;
    if (!fs::is_directory(part, ignored)) {
      continue;
    }
    const std::string what = *name == '\0' ? "" : std::string("its folder \"") + name + "\" ";
    if (IsElsewhere(part)) {
      return what +
             "is a link or a mount, and a folder can only be replaced as a whole: save under another name";
    }
#if !defined(_WIN32)
    if (faccessat(AT_FDCWD, part.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
      return what + "may not be emptied: " + std::generic_category().message(errno);
    }
#endif
  }
  return std::string();
}

// Removes what killed processes left in a folder. Whoever is alive holds a lock.
void RemoveAbandonedIn(const fs::path& parent, const std::vector<std::string>& others) {
  std::error_code failure;
  for (const auto& [name, type] : List(parent, failure)) {
    if (!IsAsideName(name) || type != fs::file_type::directory) {
      continue;
    }
    FolderLock lock;
    std::error_code unread;
    if (lock.Take(parent / name) == FolderLock::Result::kTaken &&
        FindForeign(parent / name, unread, others).empty() && !unread) {
      std::error_code ignored;
      fs::remove_all(parent / name, ignored);
    }
  }
}

// Swaps two folders in one step where the system can.
bool Exchange([[maybe_unused]] const fs::path& a, [[maybe_unused]] const fs::path& b,
              std::error_code& failure) {
  failure = std::make_error_code(std::errc::function_not_supported);
#if defined(__linux__) && defined(RENAME_EXCHANGE)
  if (renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) {
    failure.clear();
  } else if (errno != EINVAL) {  // what a file system says that cannot
    failure.assign(errno, std::generic_category());
  }
#endif
  return !failure;
}

// Without a swap there is a moment without any folder, but never one with half a folder.
void ReplaceInTwoSteps(const fs::path& aside, const fs::path& target, std::error_code& failure) {
  fs::path old = aside;
  old += "-old";
  fs::rename(target, old, failure);
  if (!failure) {
    fs::rename(aside, target, failure);
    std::error_code ignored;
    fs::rename(old, failure ? target : aside, ignored);
  }
}

// The folder that a path names.
fs::path Resolve(const std::string& target) {
  std::error_code ignored;
  fs::path path = fs::absolute(fs::u8path(target), ignored).lexically_normal();
  if (!path.has_filename()) {
    path = path.parent_path();  // "folder/" names the folder
  }
  // A link to a folder stands for the folder: that is what is replaced, next to where it really lies.
  return fs::exists(path, ignored) ? fs::canonical(path, ignored) : path;
}

std::string RandomHex() {
  std::random_device random;
  char text[24];
  std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  return text;
}

}  // namespace

FolderReplacement::FolderReplacement(const std::string& target, bool force, std::vector<std::string> others)
    : force_(force), others_(std::move(others)), target_(Resolve(target)) {}

void FolderReplacement::RemoveAbandoned(const std::string& target) {
  RemoveAbandonedIn(Resolve(target).parent_path(), {});
}

FolderReplacement::~FolderReplacement() {
  RemoveAside();
}

std::string FolderReplacement::RemoveAside() {
  if (aside_.empty()) {
    return std::string();
  }
  std::error_code failure;
  fs::remove_all(aside_, failure);
  InterruptCleanup::Watch({});
  const fs::path aside = std::exchange(aside_, fs::path());
  return failure ? aside.u8string() + ": " + failure.message() : std::string();
}

std::string FolderReplacement::Check() const {
  const fs::path around = FindModelAround(target_);
  if (!around.empty()) {
    return "would lie inside the model folder \"" + around.u8string() + "\"";
  }
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
  const bool incomplete = !fs::is_regular_file(target_ / FolderFiles::kIndex, failure);
  if (incomplete && !IsIncomplete(target_)) {
    return "exists and is not a model folder (it has no index.gz)";
  }
  if (!force_) {
    return incomplete
               ? "exists already and is incomplete, as an interrupted save leaves it; --force replaces it"
               : "exists already; --force replaces it";
  }
  std::string obstacle = FindObstacle(target_);
  if (!obstacle.empty()) {
    return obstacle;
  }
  failure.clear();
  const std::string foreign = FindForeign(target_, failure, others_);
  if (failure) {
    return failure.message();
  }
  return foreign.empty()
             ? std::string()
             : "holds \"" + foreign + "\", which does not belong to a model folder and would be deleted";
}

// False without a failure when the name is taken.
bool FolderReplacement::MakeAside(std::error_code& failure) {
  const fs::path aside = target_.parent_path() / (std::string(FolderFiles::kHidden) + RandomHex());
  InterruptCleanup::Watch(aside);
  // Between the two steps somebody who looks for abandoned folders may find this one.
  if (fs::create_directory(aside, failure) && lock_.Take(aside) != FolderLock::Result::kBusy &&
      fs::exists(aside, failure)) {
    aside_ = aside;
    return true;
  }
  InterruptCleanup::Watch({});
  return false;
}

bool FolderReplacement::Begin(std::string& reason) {
  std::error_code failure;
  fs::create_directories(target_.parent_path(), failure);
  if (failure) {
    reason = "its parent folder cannot be made: " + failure.message();
    return false;
  }
  RemoveAbandonedIn(target_.parent_path(), others_);
  for (int attempt = 0; attempt < 100 && !failure; ++attempt) {
    if (MakeAside(failure)) {
      return true;
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
  // Others may make, replace or remove the target at any moment.
  for (int attempt = 0; attempt < 100; ++attempt) {
    reason = Check();
    if (!reason.empty()) {
      return false;
    }
    if (!fs::exists(target_, failure)) {
      fs::rename(aside_, target_, failure);
    } else if (!Exchange(aside_, target_, failure) && failure == std::errc::function_not_supported) {
      ReplaceInTwoSteps(aside_, target_, failure);
    }
    if (!failure) {
      return true;  // after an exchange, the old folder lies aside
    }
    if (failure != std::errc::no_such_file_or_directory && failure != std::errc::directory_not_empty &&
        failure != std::errc::file_exists) {
      break;
    }
  }
  reason = "the new folder cannot be put in place: " + failure.message();
  return false;
}

}  // namespace mirel

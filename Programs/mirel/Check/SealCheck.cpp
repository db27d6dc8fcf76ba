#include <Programs/mirel/Check/SealCheck.h>

#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/Seal/FolderSeal.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <filesystem>
#include <set>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {

void SealCheck::Run(const std::string& folder, FindingList& findings) {
  const fs::path path = fs::u8path(folder + FolderFiles::kSeal);
  std::error_code failure;
  if (!fs::exists(fs::symlink_status(path, failure))) {
    return;
  }
  FolderSeal::Sums sums;
  std::vector<std::string> files;
  std::string reason;
  if (!FolderSeal::Read(folder, sums, reason) || !FolderSeal::ListFiles(folder, files, reason)) {
    findings.Add(CheckCode::kSealUnreadable, FolderFiles::kSeal, "cannot be used: " + reason);
    return;
  }
  for (const std::string& file : files) {
    const auto sealed = sums.find(file);
    std::string sum;
    if (sealed == sums.end()) {
      findings.Add(CheckCode::kFileAdded, file, "was added since it was saved");
    } else if (!FolderSeal::Compute(folder + file, sum, reason)) {
      findings.Add(CheckCode::kFileChanged, file, "cannot be compared with the seal: " + reason);
    } else if (sum != sealed->second) {
      findings.Add(CheckCode::kFileChanged, file, "was changed since it was saved");
    }
  }
  const std::set<std::string> found(files.begin(), files.end());
  for (const auto& [file, sum] : sums) {
    if (found.count(file) == 0) {
      findings.Add(CheckCode::kFileRemoved, file, "was removed since it was saved");
    }
  }
}

}  // namespace mirel

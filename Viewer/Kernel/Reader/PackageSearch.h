#pragma once

#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/LiteLimits.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace mirel {

/// Which packages of a kind a reader looks for, given how many the index counts. The count comes from a file and may be
/// anything, so what the folder holds decides: all packages that are there, and for the sake of the messages some that are not.
struct PackageSearch {
  std::vector<std::uint32_t> numbers;  ///< ascending
  std::uint32_t leftOut = 0;  ///< packages that are missing beyond the `kMaxMissingPackages` in the list

  PackageSearch(std::vector<std::uint32_t> present, std::uint32_t count) {
    std::sort(present.begin(), present.end());
    std::uint64_t next = 1;
    std::uint32_t missing = 0;
    const auto goTo = [&](std::uint64_t number) {
      for (; next < number && missing < kMaxMissingPackages; ++next, ++missing)
        numbers.push_back(static_cast<std::uint32_t>(next));
      leftOut += static_cast<std::uint32_t>(number - next);
      next = number;
    };
    for (const std::uint32_t number : present) {
      if (number < next || number > count) continue;
      goTo(number);
      numbers.push_back(number);
      ++next;
    }
    goTo(std::uint64_t{count} + 1);
  }

  /// The numbers of the packages in a folder, in any order; none when it cannot be listed.
  static std::vector<std::uint32_t> List(const std::string& folder) {
    std::vector<std::uint32_t> present;
    std::error_code failure;
    std::filesystem::directory_iterator entry(std::filesystem::u8path(folder), failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
      const std::uint32_t number = FolderFiles::GetPackageNumber(entry->path().filename().u8string());
      if (number > 0) present.push_back(number);
    }
    return present;
  }
};

}  // namespace mirel

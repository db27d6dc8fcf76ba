#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mirel {

/// The seal of a model folder: the SHA-256 of each file that belongs to it, in a file that `sha256sum -c` reads. It says whether
/// the folder is the one that was saved. Folders are given as narrow paths (UTF-8) with a separator at their end.
struct FolderSeal {
  /// By the files' names relative to the folder: 64 hexadecimal digits.
  using Sums = std::map<std::string, std::string>;

  /// All files that belong to the folder, but for the seal itself. False with a reason when it cannot be listed.
  static bool ListFiles(const std::string& folder, std::vector<std::string>& files, std::string& reason);

  /// The checksum of one file; false with a reason, also when it is larger than any file of a model folder may be.
  static bool Compute(const std::string& path, std::string& sum, std::string& reason);
  /// The same for any file.
  static bool Compute(const std::string& path, std::uint64_t limit, std::string& sum, std::string& reason);

  /// The checksums of all files. False with a reason, which names the file, when one cannot be read.
  static bool Make(const std::string& folder, Sums& sums, std::string& reason);

  /// Writes the seal; false with a reason. A reader, and a crash at any moment, finds the old one or the new one.
  static bool Write(const std::string& folder, const Sums& sums, std::string& reason);

  /// Reads the seal; false with a reason when it is none.
  static bool Read(const std::string& folder, Sums& sums, std::string& reason);
};

}  // namespace mirel

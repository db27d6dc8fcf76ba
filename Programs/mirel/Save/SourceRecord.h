#pragma once

#include <string>
#include <vector>

namespace mirel {

/// What a model folder was made of and how, in a file of the folder (`FolderFiles::kSource`): with it, who converts many files
/// tells which of them are done. Folders are given as narrow paths (UTF-8) with a separator at their end.
struct SourceRecord {
  struct File {
    std::string
        name;  ///< the source as it was named, then the files that it refers to, relative to its folder
    std::string sha256;  ///< 64 hexadecimal digits; empty when the file could not be read
  };

  std::string program;    ///< name and version of what made the folder
  double patience = 0.0;  ///< as on the command line; 0 when it was not given
  bool verified = false;  ///< the folder was compared with the model before it was put in place
  std::vector<File> files;

  /// Reads the record of a folder; false when there is none, or none that can be used.
  bool Read(const std::string& folder);

  /// Writes it into a folder that has none; false with a reason.
  bool Write(const std::string& folder, std::string& reason) const;

  /// The checksum of a source; empty with a reason when it cannot be read.
  static std::string Sum(const std::string& path, std::string& reason);

  /// Adds a file that the source refers to, as it is now.
  void AddOther(const std::string& source, const std::string& name);

  /// Whether a folder with this record is what would come of its sources now, on the terms of `wanted`, which names the
  /// source alone. `source` is its path.
  bool IsCurrent(const SourceRecord& wanted, const std::string& source) const;
};

}  // namespace mirel

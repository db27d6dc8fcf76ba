#pragma once

#include <Tests/Support/TestFolder.h>

#include <string>

namespace mirel::fuzz {

/// A folder for the files of this process: its narrow path, ending with a separator. Made at the first call and removed
/// when the process ends well. Targets write the same few files over and over.
inline const std::string& FuzzFolder() {
  static const TestFolder folder;
  return folder.GetPath();
}

}  // namespace mirel::fuzz

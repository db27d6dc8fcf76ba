#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// Operations on narrow (UTF-8) paths. Thread safe: no state.
class MIREL_HOST_API PathUtil {
 public:
  /// Creates a folder and any missing parents. True when the folder is there afterwards; else false, with the path and
  /// the reason logged at level 3. The path may end with a separator.
  static bool CreateFolders(const std::string& path);

  /// The folder part of a file path, ending with its separator, so that a name can be appended directly:
  /// "a/b/index.gz" gives "a/b/". A bare file name gives the empty string, which names the current folder the same
  /// way. A backslash separates on Windows only.
  static std::string GetFolderPath(const std::string& path);
};

}  // namespace mirel

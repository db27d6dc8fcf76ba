#pragma once

#include <string>

namespace mirel {

/// How a model folder is named: by the path of the folder or that of its index file. Paths are narrow (UTF-8).
class ModelPath {
 public:
  /// The index file, given the folder or the index file itself.
  static std::string FindIndex(const std::string& path);

  /// Says why `path` cannot be a model folder; empty when it may be one.
  static std::string Check(const std::string& path);
};

}  // namespace mirel

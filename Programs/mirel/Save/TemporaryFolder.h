#pragma once

#include <filesystem>
#include <string>

namespace mirel {

/// A place for a model folder that is needed for a while, in the system's folder for temporary files. What is there is
/// removed when this object goes and, once `Watch` was called, when the process is interrupted.
class TemporaryFolder {
 public:
  /// Chooses a path where nothing is; makes nothing.
  TemporaryFolder();
  ~TemporaryFolder();

  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string GetPath() const { return path_.u8string(); }

  /// To be called when the folder is there.
  void Watch() const;

 private:
  std::filesystem::path path_;
};

}  // namespace mirel

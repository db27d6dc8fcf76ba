#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace mirel {

class SceneReader;

/// The host's registry of scene readers. Thread safe; readers stay registered as long as the process lives.
class MIREL_HOST_API SceneExchangeManager {
 public:
  static SceneExchangeManager& Instance();

  /// Adds a reader and shares its ownership. An empty pointer and a reader that is already there are ignored.
  void AddReader(const std::shared_ptr<SceneReader>& reader);

  /// The readers in the order in which they were added; a copy.
  std::vector<std::shared_ptr<SceneReader>> GetReaders() const;

  /// The reader added last among those that support a file's extension, empty when there is none. The extension is
  /// that of the path's file name, dot included, as it is written ("a/index.gz": ".gz"). Of a folder that is there, it is
  /// the reader added last among those that open it (`StagedReader::FindFile`), if any does; its `Load` takes the folder.
  std::shared_ptr<SceneReader> FindReader(const std::string& path) const;

 private:
  SceneExchangeManager();
  ~SceneExchangeManager();

  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<SceneReader>> readers_;
};

}  // namespace mirel

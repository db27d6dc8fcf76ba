#pragma once

#include <Viewer/Kernel/Host/Renderer/StagedReader.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <memory>
#include <string>

namespace mirel {

/// The scene reader that the module registers: opens a model folder given its index file or itself, at once or in stages.
/// Thread safety: it has no state; several may be opened at once.
class LiteFolderReader : public LiteSceneReader, public StagedReader {
 public:
  using LiteSceneReader::Load;
  std::shared_ptr<SceneNode> Load(const std::string& path, MaterialInstance* material) override;

  std::unique_ptr<Stages> Begin(const std::string& path, Bodies bodies, Watcher& watcher) override;
  std::string FindFile(const std::string& folder) const override;
};

}  // namespace mirel

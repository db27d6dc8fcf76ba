#pragma once

#include <Viewer/Kernel/Host/Core/Path.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <map>
#include <memory>
#include <string>

namespace mirel {

/// Opens a model folder through its index file, as the host opens any file.
///
/// Thread safety: it has no state; several loads may run at once.
class MIREL_VIEWER_KERNEL_API LiteSceneReader : public SceneReader {
 public:
  LiteSceneReader();
  ~LiteSceneReader() override;
  LiteSceneReader(const LiteSceneReader&) = default;
  LiteSceneReader& operator=(const LiteSceneReader&) = default;

  using SceneReader::Load;

  /// Loads the model folder whose index file, under any name, is at the path, and returns a new group node without a name
  /// that holds the nodes of the model's items. The nodes share the GReps, and through them the exact shapes; nothing
  /// else of the model stays. The material is not used.
  ///
  /// An empty pointer when the index cannot be read ("Buffer is null!" at level 3) or is rejected by
  /// `LiteModelReader::Load`. Once the index has been accepted there is always a root: a package that is missing or
  /// damaged ("Buffer is null!" at level 3) and items that cannot be shown are left out, each with a message. Of missing
  /// packages of a kind `kMaxMissingPackages` get a message each, and all others one together.
  std::shared_ptr<SceneNode> Load(const Path& path, MaterialInstance* material) override;
  std::shared_ptr<SceneNode> Load(const std::string& path, MaterialInstance* material) override;
  std::shared_ptr<SceneNode> Load(const std::wstring& path, MaterialInstance* material) override;

  /// Sets the entry "Lite" to "*.gz".
  void ListFormats(std::map<std::string, std::string>& formats) override;

  /// True for exactly ".gz".
  bool Support(std::string extension) const override;
};

}  // namespace mirel

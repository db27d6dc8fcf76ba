#pragma once

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <memory>
#include <string>

namespace mirel {

class LiteModel;

/// Loads a model that is handed over in memory, piece by piece, and shows it in the active viewer.
///
/// The loader owns the model for its whole life. The nodes made by `End` share the GReps and outlive the loader.
/// Thread safety: none; one thread drives the loader, the one on which the viewer's scene may be changed.
class MIREL_VIEWER_KERNEL_API LiteModelLoader : public StreamModelLoader {
 public:
  LiteModelLoader();
  ~LiteModelLoader() override;

  /// Does nothing.
  void Begin() override;

  /// Ties shapes to their GReps, builds the scene nodes under a new root, adds it, even when it is empty, to the active
  /// viewer's scene and asks for a redraw. False, with the model as it was, when there is no application or no active
  /// viewer ("Application is null!", "Viewer is null!" at level 3). Calling it again adds the nodes again.
  bool End() override;

  /// Takes the uncompressed content of a package: "Shape" or "GRep", in any order and any number. The reader's result;
  /// false for any other name.
  bool LoadData(const std::string& name, const char* data, unsigned int size) override;

  /// Takes the text of the index: "Scene". The reader's result; false for any other name. The package counts that it
  /// names are not used.
  bool LoadString(const std::string& name, const std::string& text) override;

 private:
  std::unique_ptr<LiteModel> model_;
};

}  // namespace mirel

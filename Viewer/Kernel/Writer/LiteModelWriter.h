#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>
#include <Viewer/Kernel/Writer/PkgGRepBuilder.h>

#include <string>

namespace mirel {

class LiteModel;

/// Saves a model as a model folder: shape packages under "model/", newly made graphics of every shape under "grep/", and
/// last the index, which names both counts. GReps that the model holds itself are not used.
///
/// Before saving, set each type item's tag to the number of instances that use it: types with tag 2 or more are shared,
/// one with tag 1 is written in place of its instance (which changes the type item, see `InstanceItem::Write`), and one
/// with tag 0 is not written.
///
/// Thread safety: `Save` runs on the caller's thread, but for the tessellation on eight threads; nothing may change the
/// model meanwhile. The shapes are only read and stay without triangles if they had none.
class MIREL_VIEWER_KERNEL_API LiteModelWriter {
 public:
  /// The model is not owned and must outlive the writer.
  explicit LiteModelWriter(LiteModel& model);
  /// Releases the GReps made, which are kept until then.
  ~LiteModelWriter();

  /// Writes the folder at a path that ends with a separator; file names are appended to it directly. Missing folders are
  /// made. Every file is put in place whole; files that a model folder at the same path has beyond these stay. An empty
  /// shape is left out, with a message at level 3. Failures are logged at level 3 and stop nothing.
  /// A second `Save` starts anew.
  void Save(const std::string& folder);

 private:
  void SaveShapes(const std::string& folder);
  void SaveIndex(const std::string& folder);

  LiteModel& model_;
  int pkgShape_ = 0;
  PkgGRepBuilder builder_;
};

}  // namespace mirel

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

  /// Writes the folder at a path that ends with a separator; file names are appended to it directly. (Without the separator
  /// they begin with the last part of the path, and the folder that the path names is made and stays empty.) Missing
  /// folders are made. A second `Save` starts anew. An empty shape is left out, with a message at level 3; so is the text
  /// of one that `TopoShape::Read` would refuse, whose graphics are saved. A shape whose
  /// tessellation does not come to an end is given up after a while (`GRepShape::Compute`) with a message at level 3: it
  /// is saved, and nothing is drawn of it.
  ///
  /// The files are collected in hidden folders (".mirel-" and a number) inside the folder and its folders of packages, which may
  /// be links or mounts, and put in place when all are there, so that until then the folder shows the model that it had.
  /// Of the older model everything is removed that its index counts, and what belongs beside an index (checksums);
  /// other files stay, unless they have the name of a new one. When a file cannot be written, say because the disk is full, a message at level 3 gives
  /// the path and the reason, and the folder stays as it was. A process that is killed leaves the old model, the new one
  /// or, within the moment in which the files get their names, a folder without index.gz, which no reader opens; the next
  /// save removes the hidden folders that it leaves.
  ///
  /// Of two saves into one folder at once, also by different processes, one at most succeeds and the other one
  /// says that it did not; their files are not mixed.
  void Save(const std::string& folder);

  /// The graphics that the last `Save` has made.
  const PkgGRepBuilder& GetGRepBuilder() const { return builder_; }

 private:
  void SaveShapes(const std::string& shapeFolder, const std::string& grepFolder);
  void SaveIndex(const std::string& folder);

  LiteModel& model_;
  int pkgShape_ = 0;
  PkgGRepBuilder builder_;
};

}  // namespace mirel

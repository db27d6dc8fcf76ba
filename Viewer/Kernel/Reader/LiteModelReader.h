#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <string>

namespace mirel {

class LiteModel;

/// Reads the text of a model folder's index into a model and keeps the package counts that it names. It opens no files.
///
/// Thread safety: none; reader and model are used by one thread at a time.
class MIREL_VIEWER_KERNEL_API LiteModelReader {
 public:
  /// Both counts are 0. The model is not owned and must outlive the reader.
  explicit LiteModelReader(LiteModel& model);

  /// Adds the types and items of an index to the model. `text` is the JSON itself, up to its first NUL character.
  ///
  /// False when the text is not JSON (logged at level 3), or has no arrays "Types" and "Items". Nothing is undone then: package counts and types that came before stay. Items that
  /// cannot be read are left out, after messages of their own. A count that is no unsigned 32-bit integer counts as
  /// absent, and an absent one keeps its value. Loading twice adds every item twice.
  bool Load(const std::string& text);
  /// The same, but the text is taken over instead of copied: parsing works in it.
  bool Load(std::string&& text);

  unsigned int GetPkgShape() const { return pkgShape_; }
  void SetPkgShape(unsigned int count) { pkgShape_ = count; }
  unsigned int GetPkgGRep() const { return pkgGRep_; }
  void SetPkgGRep(unsigned int count) { pkgGRep_ = count; }

 private:
  bool LoadIndex(std::string&& text);

  unsigned int pkgGRep_ = 0;
  unsigned int pkgShape_ = 0;
  LiteModel& model_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>
#include <Viewer/Kernel/Writer/PkgContainerWriter.h>

#include <memory>
#include <string>

namespace mirel {

class GRepShape;

/// Builds one GRep package in memory and writes it as a file. Movable, not copyable; used by one thread at a time.
class MIREL_VIEWER_KERNEL_API PkgGRepWriter {
 public:
  /// An empty package that will be written under this number.
  explicit PkgGRepWriter(int number);
  ~PkgGRepWriter();
  PkgGRepWriter(PkgGRepWriter&& other) noexcept;
  PkgGRepWriter& operator=(PkgGRepWriter&& other) noexcept;

  /// Appends a GRep as its record (`GRepShape::ToStream`) and returns
  /// the size of all items' bytes so far. What cannot be written, an empty pointer for one, is left out, with
  /// a message at level 3.
  int AddItem(const ObjectId& id, const std::shared_ptr<GRepShape>& grep);

  int GetItemCount() const { return container_.GetItemCount(); }

  /// As `PkgContainerWriter::Write`.
  void Write(const std::string& folder) const;

 private:
  PkgContainerWriter container_;
};

}  // namespace mirel

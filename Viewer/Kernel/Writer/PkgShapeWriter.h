#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>
#include <Viewer/Kernel/Writer/PkgContainerWriter.h>

#include <memory>
#include <string>

namespace mirel {

class TopoShape;

/// Builds one shape package in memory and writes it as a file. Movable, not copyable; used by one thread at a time.
class MIREL_VIEWER_KERNEL_API PkgShapeWriter {
 public:
  /// An empty package that will be written under this number.
  explicit PkgShapeWriter(int number);
  ~PkgShapeWriter();
  PkgShapeWriter(PkgShapeWriter&& other) noexcept;
  PkgShapeWriter& operator=(PkgShapeWriter&& other) noexcept;

  /// Appends a shape as its OpenCASCADE BRep text (format version 3, with triangles, without normals) and returns
  /// the size of all items' bytes so far. What cannot be written, an empty pointer for one, and what
  /// `TopoShape::Read` would refuse, is left out, with a message at level 3 that names the id: whatever is written can
  /// be read.
  int AddItem(const ObjectId& id, const std::shared_ptr<TopoShape>& shape);

  int GetItemCount() const { return container_.GetItemCount(); }

  /// As `PkgContainerWriter::Write`.
  void Write(const std::string& folder) const;

 private:
  PkgContainerWriter container_;
};

}  // namespace mirel

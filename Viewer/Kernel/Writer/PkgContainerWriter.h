#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <string>

namespace mirel {

/// Builds one package, the container that shape and GRep packages share, in memory and writes it as a gzip file. What it
/// holds: the item count (32 bits), a table entry (id 64, offset 32, size 32 bits) for each item, and the items' bytes
/// back to back; all integers little-endian.
///
/// Movable, not copyable. Used by one thread at a time.
class MIREL_VIEWER_KERNEL_API PkgContainerWriter {
 public:
  /// An empty package that will be written under this number.
  explicit PkgContainerWriter(int number);
  ~PkgContainerWriter();
  PkgContainerWriter(PkgContainerWriter&& other) noexcept;
  PkgContainerWriter& operator=(PkgContainerWriter&& other) noexcept;

  /// Appends an item and returns the size of all items' bytes so far. An item with which the package would reach 2 GiB
  /// is left out, with a message at level 3: offsets have 32 bits, and the size is an `int`.
  int AddItem(const ObjectId& id, const std::string& bytes);

  int GetDataSize() const;
  int GetItemCount() const { return itemCount_; }

  /// The content of the file, not compressed.
  std::string MakeContent() const;

  /// Writes the file named by the folder path, the number in decimal and ".gz", with nothing in between; no file when
  /// the package is empty. A failure is logged at level 3. Writing again writes the same file again.
  void Write(const std::string& folder) const;

 private:
  std::string MakeCount() const;

  std::string data_;
  std::string table_;
  int number_;
  int itemCount_ = 0;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

class GRepShape;
class TopoShape;

/// Makes the graphics (GReps) of shapes and writes them as GRep packages: `AddItem` once for each shape, `Build` once,
/// `Write` once.
///
/// The builder shares ownership of every GRep it has made until it is destroyed; copying it shares them too.
///
/// Thread safety: used by one thread at a time. `Build` runs on eight threads of its own making and returns when all
/// are done; nothing else may use the builder or its GReps meanwhile.
class MIREL_VIEWER_KERNEL_API PkgGRepBuilder {
 public:
  PkgGRepBuilder();
  ~PkgGRepBuilder();
  PkgGRepBuilder(const PkgGRepBuilder& other);
  PkgGRepBuilder& operator=(const PkgGRepBuilder& other);
  PkgGRepBuilder(PkgGRepBuilder&& other) noexcept;
  PkgGRepBuilder& operator=(PkgGRepBuilder&& other) noexcept;

  /// Makes the GRep object of a shape, still to be completed. A shape without one, an empty pointer for one, is left
  /// out, with a message at level 3. An id given twice gives two entries.
  void AddItem(const ObjectId& id, const std::shared_ptr<TopoShape>& shape);

  /// All entries in the order of `AddItem`. The builder keeps its share of the GReps.
  const std::vector<std::pair<ObjectId, std::shared_ptr<GRepShape>>>& GetItems() const { return entries_; }

  /// Completes (tessellates) all GReps. Then names each shape whose GRep draws nothing in a notice (level 1): it is
  /// empty, or `GRepShape::Compute` gave it up. Leaves OpenMP's default number of threads at eight.
  void Build();

  /// Creates the folder and writes the packages 1.gz, 2.gz, ... into it, named by the folder path and the number with
  /// nothing in between, in the order of `AddItem`; then sets the package count to the number of packages written.
  void Write(const std::string& folder);

  /// 0 before the first `Write`.
  unsigned int GetPkgCount() const;
  /// The next `Write` overwrites it.
  void SetPkgCount(unsigned int count);

 private:
  using Entry = std::pair<ObjectId, std::shared_ptr<GRepShape>>;

  unsigned int pkgCount_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace mirel

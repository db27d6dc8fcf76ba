#pragma once

#include <Programs/mirel/Export/Exact/ExactStructure.h>

#include <TopoDS_Shape.hxx>

#include <string>
#include <vector>

namespace mirel {

class StageProgress;

/// The products of a structure as OpenCASCADE has them: bodies, and compounds that hold them where they stand. A product
/// has one shape, however often it is placed, and no two products share one.
class ExactShapes {
 public:
  /// Decodes the bodies that are used, on all cores. Bodies that cannot be used are empty compounds.
  ExactShapes(const ExactStructure& structure, const LiteModel& model, StageProgress& progress);

  /// One for each product, unplaced.
  const std::vector<TopoDS_Shape>& GetAll() const { return shapes_; }

  /// All that there is.
  TopoDS_Shape GetWhole() const;

  /// Products whose body is not in the folder or cannot be decoded, or cannot be mirrored, scaled or sheared as it stands;
  /// by their names and the ids of their bodies.
  const std::vector<std::string>& GetMissing() const { return missing_; }

 private:
  void AddPart(const ExactStructure::Product& product, TopoDS_Shape body, bool isUsed);
  void AddAssembly(const ExactStructure::Product& product);

  const ExactStructure& structure_;
  std::vector<TopoDS_Shape> shapes_;
  std::vector<std::string> missing_;
};

}  // namespace mirel

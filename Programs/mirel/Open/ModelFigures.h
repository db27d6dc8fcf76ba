#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace mirel {

class LiteModel;
class LiteModelItem;

/// The figures of a model: how many items of which kind it stores, and how many a viewer sees once instances
/// are unfolded. Each type is looked at once, so the time does not grow with what the instances unfold to;
/// numbers that exceed 64 bits stay at the largest.
struct ModelFigures {
  explicit ModelFigures(const LiteModel& model);

  /// Items stored, those inside types included.
  std::uint64_t groups = 0;
  std::uint64_t instances = 0;
  std::uint64_t shapeItems = 0;

  /// One type and by how many instances it is used, in the order of the ids.
  struct TypeUse {
    ObjectId id;
    std::string kind;
    std::string name;
    std::uint64_t uses;
  };
  std::vector<TypeUse> types;

  std::uint64_t placedShapes = 0;  ///< shape items seen, instances unfolded
  std::uint64_t nodes = 0;         ///< scene nodes that a viewer makes, instances unfolded
  std::uint64_t depth = 0;         ///< levels of scene nodes

  std::uint64_t shapes = 0;    ///< bodies in the shape table
  std::uint64_t graphics = 0;  ///< graphics representations
  std::uint64_t faces = 0;     ///< of the graphics representations
  std::uint64_t edges = 0;
  std::uint64_t triangles = 0;
  std::uint64_t facesWithoutTriangles = 0;
  std::uint64_t placedTriangles = 0;  ///< triangles seen, instances unfolded
  std::uint64_t coloredFaces = 0;     ///< faces with a colour of their own, each once for each body
};

}  // namespace mirel

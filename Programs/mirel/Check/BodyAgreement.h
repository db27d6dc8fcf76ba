#pragma once

#include <Programs/mirel/Check/CheckCode.h>

#include <cstdint>
#include <functional>
#include <string>

class TopoDS_Shape;

namespace mirel {

struct GRepMesh;

/// Compares what is drawn of a body with the body itself.
class BodyAgreement {
 public:
  using Report = std::function<void(CheckCode code, const std::string& text)>;

  /// How much of a body is looked at.
  enum class Effort {
    kLittle,  ///< one triangle of each face
    kMuch,    ///< up to sixteen, and 20,000 points of a body with fewer faces than that
  };

  /// Reports where numbers of faces and edges, boxes, and the places of the triangles differ: each face's triangles must
  /// lie on its surface, and the edges in the box, as exactly as the graphics claim (their deflection, half a cell of
  /// their grid, and the tolerances of the body), and most normals of a face must be those that its surface has there.
  /// Triangles and edges are sampled, always the same ones: a few of each face, fewer the more faces there are. Returns
  /// how many points were compared. Lets OpenCASCADE's exceptions through.
  static std::uint64_t Compare(const TopoDS_Shape& body, const GRepMesh& mesh, Effort effort,
                               const Report& report);
};

}  // namespace mirel

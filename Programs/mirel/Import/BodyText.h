#pragma once

#include <string>

class TopoDS_Shape;

namespace mirel {

/// The text of bodies.
class BodyText {
 public:
  /// The text of a shape as model folders hold it: format version 3, with triangles, without normals. Throws what
  /// OpenCASCADE throws, and `std::bad_alloc`.
  static std::string Of(const TopoDS_Shape& shape);
};

}  // namespace mirel

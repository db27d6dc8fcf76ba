#pragma once

#include <cstddef>

namespace mirel {

/// Where the text comes from, and so what it may be.
enum class BRepTextOrigin {
  kPackage,  ///< format version 3 and nothing behind the shape but white space
  kFile,     ///< format versions 1 to 3, all that OpenCASCADE has written, and anything behind the shape
};

/// What `CheckBRepText` found.
struct BRepTextResult {
  const char* reason = nullptr;  ///< one sentence without a full stop, static; null when the text is good
  std::size_t offset =
      0;  ///< byte position of the first token that breaks a rule; behind the shape when there is none

  bool IsGood() const { return reason == nullptr; }
};

/// Checks that BRep text is safe to hand to OpenCASCADE's reader.
///
/// One pass over the grammar, with or without triangles and normals. It builds no shapes: all it keeps are a few numbers
/// per location, curve, surface, polygon, triangulation and shape. Good text
/// - is of a format version, and ends, as its origin allows;
/// - has all its sections in order, in blanks and line ends only as the writer leaves them, with counts that the
///   remaining bytes can hold;
/// - refers only to entries that exist, are of the right kind and come before their use; every shape is part of the one
///   root shape, whose nesting and unfolded size stay within `Limits.h`;
/// - has numbers that OpenCASCADE's constructors accept (unit and perpendicular axes, radii, weights, knots and
///   multiplicities, trims within their basis) and that are finite, so that the reader neither throws away an entry in
///   silence nor follows a null pointer.
///
/// Whatever `BRepTools::Write` writes of a body is good, short of what `TopoShape.h` names. Good text is not yet a
/// sensible body: a number may still be wrong without breaking a rule.
///
/// Thread safety: a pure function. `data` need not end in a zero byte.
BRepTextResult CheckBRepText(const char* data, std::size_t size,
                             BRepTextOrigin origin = BRepTextOrigin::kPackage);

}  // namespace mirel

#pragma once

#include <cstdint>
#include <string>

namespace mirel {

class SceneNode;

/// Files of triangles and little else, for those who print: every placed body is written out where it stands, in
/// millimetres, z upwards. Triangles look outwards, also of bodies in a mirror.
class TriangleFiles {
 public:
  explicit TriangleFiles(const SceneNode& root) : root_(root) {}

  /// Each gives the whole file. False when it would be larger than the format can say.
  /// Binary STL: triangles with their normals.
  bool MakeStl(std::string& file);
  /// Wavefront OBJ: an object for each placed body, with its name; vertices and normals.
  bool MakeObj(std::string& file);
  /// Binary PLY, little-endian: vertices with normals, triangles with the colours of their faces.
  bool MakePly(std::string& file);

  /// Of the last file: bodies that could not be put where they stand.
  std::uint64_t CountLeftOut() const { return leftOut_; }

 private:
  const SceneNode& root_;
  std::uint64_t leftOut_ = 0;
};

}  // namespace mirel

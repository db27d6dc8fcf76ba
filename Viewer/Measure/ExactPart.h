#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class TopoDS_Shape;

namespace mirel {

class TopoShape;

/// Exact geometry where it stands in a scene: a body, one of its faces or edges, or a point. What is measured.
///
/// Lengths are millimetres. A copy shares the geometry. Thread safety: never changes once made, so any number of threads
/// may measure it.
class ExactPart {
 public:
  enum class Kind { kBody, kFace, kEdge, kPoint };

  /// Of a body at `placement`, from its coordinates to those of the scene, which may mirror, scale and shear. Nothing
  /// when the body cannot be decoded, has no such face or edge, or cannot be put there; `face` and `edge` are positions in
  /// `GRepMesh::faces` and `GRepMesh::edges`.
  ///
  /// The first call for a body decodes it, which may take a tenth of a second for a thousand faces: call it on a thread that nobody
  /// waits for.
  static std::optional<ExactPart> OfBody(const TopoShape& body, const glm::dmat4& placement);
  static std::optional<ExactPart> OfFace(const TopoShape& body, std::uint32_t face,
                                         const glm::dmat4& placement);
  static std::optional<ExactPart> OfEdge(const TopoShape& body, std::uint32_t edge,
                                         const glm::dmat4& placement);
  /// All faces of a body by their positions, which are looked for once; nothing in the place of one that cannot be put there.
  static std::vector<std::optional<ExactPart>> FacesOf(const TopoShape& body, const glm::dmat4& placement);
  /// Of a point of the scene, such as a `SnapPoint`.
  static ExactPart OfPoint(const glm::dvec3& point);

  Kind GetKind() const { return kind_; }

  /// The geometry in scene coordinates; a vertex for a point.
  const TopoDS_Shape& GetShape() const { return *shape_; }

 private:
  ExactPart(Kind kind, const TopoDS_Shape& shape);
  static std::optional<ExactPart> Place(Kind kind, const TopoDS_Shape& shape, const glm::dmat4& placement);

  Kind kind_;
  std::shared_ptr<const TopoDS_Shape> shape_;
};

}  // namespace mirel

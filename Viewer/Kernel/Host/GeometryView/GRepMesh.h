#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>
#include <Viewer/Kernel/Host/GeometryView/GRepFeatures.h>

#include <glm/glm.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mirel {

/// A point of a mesh, 8 bytes: grid coordinates and an octahedral normal, see `GRepMesh`.
struct GRepVertex {
  std::uint16_t x, y, z;
  std::int8_t nx, ny;
};

/// A point of a mesh whose deflection asks for a finer grid, 16 bytes; `unused` is 0. The coordinates have up to 32 bits
/// where floats have 24: who gives them to a graphics interface as floats halves the grid first, or keeps a high and a
/// low part and adds both behind the matrix; `GRepMesh::CopyPositions` rounds.
struct GRepFineVertex {
  std::uint32_t x, y, z;
  std::int8_t nx, ny;
  std::uint16_t unused;
};

/// What is drawn of one face: its triangles and the vertices that they use. No face uses the vertices of
/// another.
struct GRepFace {
  std::uint32_t firstIndex;   ///< where its corners begin in `GRepMesh::triangles`; a multiple of 3
  std::uint32_t indexCount;   ///< three times its number of triangles; 0 when the face could not be meshed
  std::uint32_t firstVertex;  ///< where its vertices begin in the vertex array
  std::uint32_t vertexCount;
};

/// What is drawn of one edge: a line strip.
struct GRepEdge {
  std::uint32_t firstIndex;  ///< where its points begin in `GRepMesh::polylines`
  std::uint32_t indexCount;  ///< its number of points: at least 2, or 0 for an edge that has no length
};

/// What a viewer draws of one body. Plain data: every array can be given to a graphics interface as it is,
/// and no triangle needs to be touched to draw all of the body or one of its faces.
///
/// Lengths are millimetres, coordinates those of the body. Example, a box from (0, 0, 0) to (10, 20, 30):
///
///     gridOrigin (0, 0, 0); gridStep 0.002: the largest round number (1, 2 or 5 times a power of ten) that
///     moves no
///                vertex by more than 5 % of the deflection 0.037
///     vertices   24: {0,0,15000, nx,ny}, {0,0,0, ..}, {0,10000,0, ..} ..: four for each of the six faces
///     triangles  36 = 3 * 12 indices into `vertices`
///     faces      {0, 6, 0, 4}, {6, 6, 4, 4}, {12, 6, 8, 4} ..: face 1 is `triangles[6 .. 11]`
///     polylines  24 = 2 * 12 indices into `vertices`
///     edges      {0, 2}, {2, 2} ..: edge 1 is the strip `polylines[2 .. 3]`
///
/// Positions lie on a grid: position = gridOrigin + (x, y, z) * gridStep. A viewer uploads the 8-byte
/// vertices as four 16-bit integers, or as three of 16 and two of 8 bits, and puts origin and step into the
/// model matrix.
///
/// Normals are unit vectors in octahedral form [Cigolle et al., "A Survey of Efficient Representations for
/// Independent Unit Vectors", 2014]: with a = max(nx, -127) / 127 and b = max(ny, -127) / 127, n = (a, b, 1 -
/// |a| - |b|); when its z is negative, n.x = (1 - |b|) * sign(a), n.y = (1 - |a|) * sign(b), where sign(0) =
/// 1; then n / |n|. The error is below 1 degree. Normals point out of the material, and the corners of a
/// triangle turn counter-clockwise when seen from there.
struct MIREL_HOST_API GRepMesh {
  /// What is drawn, before its positions were rounded to the grid. A drawn vertex may lie half a grid step
  /// outside, and the faces and edges of the exact body reach past the box by `linearDeflection` at most.
  /// Empty where nothing is drawn, infinite for a body without bounds (of which nothing is drawn).
  AABoxT<double> box;

  /// Where the grid of the vertices begins, in mm, and the length of one step, the same on the three axes.
  glm::dvec3 gridOrigin = glm::dvec3(0.0);
  double gridStep = 1.0;

  /// The largest distance in mm between a triangle and its face, and between a polyline and its edge.
  double linearDeflection = 0.0;
  /// The largest angle in radians between neighbouring segments of a polyline on a curved edge; between
  /// triangles inside a face, twice as much.
  double angularDeflection = 0.0;

  /// The vertices, in the order of the faces that use them; then those that only polylines use, whose normals
  /// have no meaning. Only one of the two arrays is used; `fineVertices` is when `linearDeflection` is so
  /// small, compared with the size of the body, that a grid of 65536 places is too coarse.
  std::vector<GRepVertex> vertices;
  std::vector<GRepFineVertex> fineVertices;

  /// Three vertex indices for each triangle.
  std::vector<std::uint32_t> triangles;
  /// One for each face, in the order of `TopExp::MapShapes(shape, TopAbs_FACE)`: the face index that face
  /// colours use. The ranges follow each other without gaps.
  std::vector<GRepFace> faces;

  /// Vertex indices of all line strips.
  std::vector<std::uint32_t> polylines;
  /// One for each edge, in the order of `TopExp::MapShapes(shape, TopAbs_EDGE)`, ranges without gaps; none
  /// when the mesh was made without edges.
  std::vector<GRepEdge> edges;

  /// What surface each face lies on, and what lies on both sides of each edge: one for each of `faces` and `edges`,
  /// or none of either in a mesh that was read from a record of the first version, which did not say.
  std::vector<GRepSurface> surfaces;
  std::vector<GRepEdgeSides> sides;

  std::size_t GetVertexCount() const { return vertices.empty() ? fineVertices.size() : vertices.size(); }
  std::size_t GetTriangleCount() const { return triangles.size() / 3; }

  /// The number of faces that have no triangles because they could not be meshed.
  std::size_t CountFacesWithoutTriangles() const;

  /// The memory of the arrays.
  std::size_t CountBytes() const;

  /// The position of a vertex in mm; `index` must be below `GetVertexCount()`.
  glm::dvec3 GetPosition(std::size_t index) const;

  /// The unit normal of a vertex; `index` must be below `GetVertexCount()`.
  glm::vec3 GetNormal(std::size_t index) const;

  // What graphics interfaces and ray casters want in other forms. Each call goes over the whole mesh once.

  /// All positions in mm, less `origin`: x, y, z of vertex i at `target[i * stride]` and behind it, in floats, so that
  /// `target` must have room for `stride` (at least 3) times `GetVertexCount()`. A float holds 7 digits: for bodies
  /// that are far from their origin give, for instance, `gridOrigin`, and put it into the matrix.
  void CopyPositions(float* target, std::size_t stride = 3, const glm::dvec3& origin = glm::dvec3(0.0)) const;

  /// All unit normals, laid out likewise.
  void CopyNormals(float* target, std::size_t stride = 3) const;

  /// The number of the face of each vertex, `GRepEdgeSides::kNoFace` where only polylines use it; and of each triangle.
  std::vector<std::uint32_t> MakeFaceOfVertex() const;
  std::vector<std::uint32_t> MakeFaceOfTriangle() const;

  /// The face that a triangle belongs to; `triangle` must be below `GetTriangleCount()`.
  std::uint32_t FindFace(std::size_t triangle) const;

  /// The polylines as pairs of vertex indices, one pair for each segment, in the order of the edges, so that one call
  /// draws them. `onlySharp` leaves out what people who look at a drawing do not expect to see: seams, and edges where
  /// two faces go on smoothly; in a mesh that does not know its `sides`, nothing.
  std::vector<std::uint32_t> MakeSegments(bool onlySharp = false) const;
};

}  // namespace mirel

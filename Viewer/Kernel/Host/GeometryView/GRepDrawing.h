#pragma once

namespace mirel {

struct GRepMesh;

/// A mesh without what no picture shows: surfaces and sides, the points of seams and of edges where two faces go on smoothly,
/// and vertices that only those use. Faces, triangles and edges keep their numbers. Of a mesh that does not know its
/// sides, all.
GRepMesh MakeDrawing(const GRepMesh& mesh);

}  // namespace mirel

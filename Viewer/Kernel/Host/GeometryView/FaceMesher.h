#pragma once

#include <IMeshTools_Parameters.hxx>

class TopoDS_Shape;

namespace mirel {

class WorkState;

/// Gives every face of `body` a triangulation and every edge the polygons that go with it, as
/// `BRepMesh_IncrementalMesh` does, but several times faster on faces with many holes: first all nodes of a face are
/// triangulated at once (`TriangulateDelaunay`) and its boundary is put in afterwards; OpenCASCADE's default (Watson), which
/// adds one node after the other, follows only on faces where the result is not a proper tiling of the face.
///
/// The proof is made for every face in the face's (u, v) plane, where the mesher works: each triangle is
/// oriented like the face, and the triangle sides that no second triangle shares are exactly the segments of
/// the face's boundary loops, in the same direction. Triangles that pass cover each point inside the loops
/// once and no point outside: nothing is lost, covered twice, or drawn over a hole.
///
/// Steps `state` on the way. Once that is stopped, the mesher ends as soon as it looks, which it does not do everywhere.
///
/// Returns the number of faces for which the proof failed in both ways, or which the mesher did not even try because it
/// found their boundary damaged; they have doubtful triangles or none. `parameters.MeshAlgo` is ignored. Throws what
/// OpenCASCADE throws.
int MeshFaces(const TopoDS_Shape& body, const IMeshTools_Parameters& parameters, WorkState& state);

}  // namespace mirel

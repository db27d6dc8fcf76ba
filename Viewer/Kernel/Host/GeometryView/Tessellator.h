#pragma once

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

class TopoDS_Shape;

namespace mirel {

/// Turns a body into what a viewer draws of it.
///
/// `deflection` is the linear deflection in mm; 0, negative or not a number: 0.001 of the diagonal of the
/// exact body's box. The angular deflection is 0.35 rad. The body is only read: a private copy of it,
/// geometry included, is meshed, so that calls may run at the same time for bodies that share geometry, or
/// for one body. The same body gives the same mesh in every call.
///
/// The work is done on a thread of its own. When that gets on with nothing for longer than the patience, or takes longer
/// than its number of faces and edges justifies (`Limits.h`), it is given up with a message at level 3, and abandoned if
/// it does not even end then (`CountAbandonedWork`): some loops of OpenCASCADE run for ever on geometry that nobody
/// means. The mesh then draws nothing; its faces and edges are there, all empty.
///
/// Throws nothing. What could not be meshed is missing from the result and named in a notice (level 1); the
/// result is valid in any case, with one entry per face of the body, and one per edge if `withEdges` is set.
GRepMesh Tessellate(const TopoDS_Shape& body, double deflection, bool withEdges);

/// How many seconds a tessellation may go on without getting anywhere; 0, negative or not a number: `kMeshPatience`.
void SetTessellationPatience(double seconds);

/// The number of tessellations that were given up so far.
unsigned CountGivenUpTessellations();

}  // namespace mirel

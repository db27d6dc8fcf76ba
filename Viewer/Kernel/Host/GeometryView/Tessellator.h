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
/// Throws nothing. What could not be meshed is missing from the result and named in a notice (level 1); the
/// result is valid in any case, with one entry per face of the body, and one per edge if `withEdges` is set.
GRepMesh Tessellate(const TopoDS_Shape& body, double deflection, bool withEdges);

}  // namespace mirel

#pragma once

#include <TopoDS_Shape.hxx>

namespace mirel {

/// The body with other curves on the edges that OpenCASCADE crashes on when it projects them onto a planar face: parabolas
/// whose axis stands upright on the plane (`ProjLib_ProjectOnPlane` of 7.6 takes the projection for a line and has none).
/// They become B-splines of the same points at the same parameters. Nothing else changes, and faces and edges stand in the
/// same order; a body without such edges is given back as it is. No sane body has them.
///
/// Thread safety: reads the body only. Throws what OpenCASCADE throws.
TopoDS_Shape WithoutUprightParabolas(const TopoDS_Shape& body);

}  // namespace mirel

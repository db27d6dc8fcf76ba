#pragma once

class TopoDS_Face;

namespace mirel {

/// Brings the boundary of a face on a surface that closes on itself (cylinder, surface of revolution, ...) together.
///
/// Where OpenCASCADE reads such faces from STEP files, the curves that bound them in (u, v) can lie whole periods apart,
/// each at its place in space, or are joined by degenerated edges that run round more than once. The mesher draws
/// nothing then, or something else. Here each curve is shifted by periods to where the one before it ends, and such
/// degenerated edges are left out. A boundary that is whole, or does not become whole by that, is left as it is.
///
/// Changes the edges and wires of the face in place: for a copy that nobody else has.
void JoinByPeriods(const TopoDS_Face& face);

}  // namespace mirel

#pragma once

#include <gp_Pnt.hxx>
#include <gp_Pnt2d.hxx>

#include <array>
#include <vector>

class GeomAdaptor_Surface;

namespace mirel {

class WorkState;

/// The triangles of one face, in the coordinates of its surface.
struct FaceTriangles {
  std::vector<gp_Pnt> points;
  std::vector<gp_Pnt2d> parameters;           ///< (u, v) of each point; empty when the face has no surface
  std::vector<std::array<int, 3>> triangles;  ///< three indices of points each
};

/// Splits triangles until the middles of their sides and their centres are within `deflection` of the surface.
///
/// OpenCASCADE's mesher controls the deflection on free-form surfaces only; on spheres, tori and cones it places nodes by
/// formulas for whole surfaces, and triangles along trimmed borders miss by twice the deflection and more. Sides
/// on the face's border are left alone, since the neighbour face has them too. New points come behind the old ones.
/// Steps `state` on the way, and leaves off when that is stopped.
void RefineFace(const GeomAdaptor_Surface& surface, double deflection, FaceTriangles& face, WorkState& state);

}  // namespace mirel

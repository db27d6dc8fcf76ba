#pragma once

#include <Geom2d_Curve.hxx>
#include <Geom_Surface.hxx>

class TopLoc_Location;
class TopoDS_Edge;

namespace mirel {

/// The curves of edges in planes that were asked for last.
///
/// Bodies of STEP files do not have such curves, so OpenCASCADE projects the edge anew whenever it needs one, about ten times for each
/// edge of a plane face while a body is healed, drawn and compared. What comes of it depends on the numbers of line or circle and plane alone,
/// so it is the same curve whoever asks.
class PlaneCurveMemo {
 public:
  /// What projects: `BRep_Tool::CurveOnPlane`.
  using Project = Handle(Geom2d_Curve) (*)(const TopoDS_Edge& edge, const Handle(Geom_Surface) & surface,
                                           const TopLoc_Location& place, double& first, double& last);

  /// What `project` gives for these: one that nobody else has, as a copy where the same numbers were projected before. On any
  /// thread; never waits for another.
  static Handle(Geom2d_Curve) Get(const TopoDS_Edge& edge, const Handle(Geom_Surface) & surface,
                                  const TopLoc_Location& place, double& first, double& last, Project project);
};

}  // namespace mirel

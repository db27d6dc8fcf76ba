#pragma once

class TopoDS_Shape;

namespace mirel {

/// Curves of edges in the planes of faces. A body need not have them, and OpenCASCADE makes them anew whenever it needs one:
/// for each edge of a face those of all its edges, while it translates to STEP, which is most of the time that it takes.
class PlaneCurves {
 public:
  /// Puts those that a body does not have into its edges. One body at a time for each thread; bodies must not share edges.
  static void Store(const TopoDS_Shape& body);
};

}  // namespace mirel

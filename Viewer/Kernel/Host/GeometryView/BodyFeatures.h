#pragma once

#include <TopoDS_Shape.hxx>
#include <gp_Trsf.hxx>

#include <functional>

namespace mirel {

struct GRepMesh;

/// Fills `surfaces` and `sides` of the mesh of a body, which must be complete else: its faces and edges are those of
/// `body`, its coordinates those of `body` after `placement`.
///
/// Calls `proceed` before each face and edge, and stops when it says no; what is not reached is of another kind, or
/// loose. A face or edge that OpenCASCADE throws on counts as such too. May throw when the body as a whole does.
void DescribeBody(const TopoDS_Shape& body, const gp_Trsf& placement, const std::function<bool()>& proceed,
                  GRepMesh& mesh);

}  // namespace mirel

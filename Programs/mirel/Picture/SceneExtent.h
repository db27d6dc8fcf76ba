#pragma once

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

namespace mirel {

class DrawScene;

/// The overall dimensions of what is drawn of a scene, as closely as its graphics tell: the triangles' own extents where a
/// body is turned, not those of its box, and the radius of a round face where its triangles cut the corner. Off by the
/// deflection of the graphics at most. Empty when nothing is drawn.
AABoxT<double> FindSceneExtent(const DrawScene& scene);

}  // namespace mirel

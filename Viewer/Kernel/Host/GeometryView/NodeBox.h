#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

namespace mirel {

class Scene;
class SceneNode;

/// The box of what a node and all below it draw, hidden or not, in mm and in the space of the scene; and that of a whole
/// scene. Each body's box is placed once, by the product of all placements in double precision, so that boxes neither
/// grow from level to level nor lose digits far away. Empty where nothing is drawn, infinite where a body has no bounds.
MIREL_HOST_API AABoxT<double> GetNodeBox(const SceneNode& node);
MIREL_HOST_API AABoxT<double> GetSceneBox(const Scene& scene);

}  // namespace mirel

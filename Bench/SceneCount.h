#pragma once

#include <Bench/Figures.h>

namespace mirel {
class SceneNode;
}

namespace mirel::bench {

/// Adds "nodes" (all below the root), "placedShapes", "bodies" (distinct graphics), "triangles" (of those,
/// each once) and "drawnTriangles" (as often as they are placed).
void CountScene(const SceneNode& root, Figures& figures);

}  // namespace mirel::bench

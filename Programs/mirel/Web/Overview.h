#pragma once

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <string>
#include <vector>

namespace mirel {

class ModelFolder;

/// What a page needs to know of a model before it fetches packages: boxes, sizes, and which package holds which body.
class Overview {
 public:
  /// The content of overview.json. `box` is that of all that is drawn, in the coordinates of the model. The packages of
  /// exact bodies are in it only if they lie beside. `drawings` are the `DrawingPackages` that lie beside, or none.
  static std::string ToJson(const ModelFolder& folder, const AABoxT<double>& box, bool withBodies,
                            const std::vector<std::string>& drawings);
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <array>

namespace mirel {

/// The eight corners of a finite box, x changing first and z last; without meaning for other boxes.
template <typename T>
std::array<glm::tvec3<T>, 8> GetBoxCorners(const AABoxT<T>& box) {
  const glm::tvec3<T>&min = box.GetMin(), &max = box.GetMax();
  return {{{min.x, min.y, min.z},
           {max.x, min.y, min.z},
           {min.x, max.y, min.z},
           {max.x, max.y, min.z},
           {min.x, min.y, max.z},
           {max.x, min.y, max.z},
           {min.x, max.y, max.z},
           {max.x, max.y, max.z}}};
}

}  // namespace mirel

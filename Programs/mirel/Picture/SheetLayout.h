#pragma once

#include <Viewer/Draw/Camera.h>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <array>

namespace mirel {

/// Where things stand on a drawing sheet, in pixels: three views in the third angle, so that the view from above stands
/// above the front and that from the right to its right, all of one scale; in the corner that is left the model as a whole,
/// and below them the title. The views next to each other are in line.
struct SheetLayout {
  /// For a sheet of at least the smallest size that a request may have, and a model of this size in mm, which may be 0 on any axis.
  SheetLayout(int width, int height, const glm::dvec3& size);

  struct Cell {
    Camera::View view;
    const char* name;
    glm::ivec2 corner;  ///< left upper
    glm::ivec2 size;
    glm::dvec2
        extent;  ///< of what is seen there, in pixels; in the middle of the cell; 0 for the model as a whole
  };
  std::array<Cell, 4> cells;

  int textSize;
  int margin;          ///< around the frame
  int titleTop;        ///< where the title begins; it ends at the frame
  double scale = 1.0;  ///< pixels for each mm in the three views
};

}  // namespace mirel

#pragma once

#include <TopLoc_Location.hxx>
#include <gp_Trsf.hxx>

#include <glm/mat4x4.hpp>

namespace mirel {

/// A placement of OpenCASCADE's as the model has it.
class PlacementMatrix {
 public:
  /// The matrix, column by column.
  static glm::dmat4 Of(const TopLoc_Location& location) {
    glm::dmat4 matrix(1.0);
    if (location.IsIdentity()) {
      return matrix;
    }
    const gp_Trsf transformation = location.Transformation();
    for (int column = 0; column < 4; ++column) {
      for (int row = 0; row < 3; ++row) {
        matrix[column][row] = transformation.Value(row + 1, column + 1);
      }
    }
    return matrix;
  }
};

}  // namespace mirel

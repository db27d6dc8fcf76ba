#include <Programs/mirel/Export/GltfPlacement.h>

#include <Programs/mirel/Export/PlacedBodies.h>

#include <math_Jacobi.hxx>
#include <math_Matrix.hxx>
#include <math_Vector.hxx>

#include <glm/glm.hpp>

#include <cmath>

namespace mirel {

namespace {

// Loaders take matrices apart in single precision.
constexpr double kSquareAngle = 1e-6;

bool HasSquareAxes(const glm::dmat3& axes) {
  for (int i = 0; i < 3; ++i) {
    const glm::dvec3 a = glm::normalize(axes[i]);
    const glm::dvec3 b = glm::normalize(axes[(i + 1) % 3]);
    if (std::abs(glm::dot(a, b)) > kSquareAngle) {
      return false;
    }
  }
  return true;
}

// The directions that stay square under `axes`: the eigenvectors of its transposed with it, as columns, right-handed.
glm::dmat3 FindPrincipalAxes(const glm::dmat3& axes) {
  const glm::dmat3 squares = glm::transpose(axes) * axes;
  math_Matrix symmetric(1, 3, 1, 3);
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      symmetric(row + 1, column + 1) = squares[column][row];
    }
  }
  const math_Jacobi eigen(symmetric);
  glm::dmat3 principal(1.0);
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      principal[column][row] = eigen.Vectors()(row + 1, column + 1);
    }
  }
  if (glm::determinant(principal) < 0.0) {
    principal[0] = -principal[0];
  }
  return principal;
}

}  // namespace

std::vector<glm::dmat4> GltfPlacement::Split(const glm::dmat4& placement) {
  if (!PlacedBodies::CanPlace(placement)) {
    return {};
  }
  const glm::dmat3 axes(placement);
  if (HasSquareAxes(axes)) {
    return {placement};
  }
  // Singular value decomposition: the inner node turns the principal axes onto the coordinate axes, the outer one scales
  // along these and does the rest.
  const glm::dmat3 principal = FindPrincipalAxes(axes);
  glm::dmat4 outer(axes * principal);
  outer[3] = placement[3];
  return {outer, glm::dmat4(glm::transpose(principal))};
}

}  // namespace mirel

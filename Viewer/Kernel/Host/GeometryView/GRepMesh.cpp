#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <cmath>

namespace mirel {

std::size_t GRepMesh::CountFacesWithoutTriangles() const {
  return static_cast<std::size_t>(
      std::count_if(faces.begin(), faces.end(), [](const GRepFace& face) { return face.indexCount == 0; }));
}

glm::dvec3 GRepMesh::GetPosition(std::size_t index) const {
  const glm::dvec3 place =
      vertices.empty() ? glm::dvec3(fineVertices[index].x, fineVertices[index].y, fineVertices[index].z)
                       : glm::dvec3(vertices[index].x, vertices[index].y, vertices[index].z);
  return gridOrigin + place * gridStep;
}

glm::vec3 GRepMesh::GetNormal(std::size_t index) const {
  const int nx = vertices.empty() ? fineVertices[index].nx : vertices[index].nx;
  const int ny = vertices.empty() ? fineVertices[index].ny : vertices[index].ny;
  const float a = static_cast<float>(std::max(nx, -127)) / 127.0f;
  const float b = static_cast<float>(std::max(ny, -127)) / 127.0f;
  glm::vec3 normal(a, b, 1.0f - std::abs(a) - std::abs(b));
  if (normal.z < 0.0f) {
    normal.x = (1.0f - std::abs(b)) * (a < 0.0f ? -1.0f : 1.0f);
    normal.y = (1.0f - std::abs(a)) * (b < 0.0f ? -1.0f : 1.0f);
  }
  return glm::normalize(normal);
}

}  // namespace mirel

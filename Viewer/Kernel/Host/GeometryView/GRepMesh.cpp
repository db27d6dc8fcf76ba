#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <cmath>

namespace mirel {

std::size_t GRepMesh::CountFacesWithoutTriangles() const {
  return static_cast<std::size_t>(
      std::count_if(faces.begin(), faces.end(), [](const GRepFace& face) { return face.indexCount == 0; }));
}

std::size_t GRepMesh::CountBytes() const {
  const auto bytes = [](const auto& array) { return array.capacity() * sizeof array[0]; };
  return bytes(vertices) + bytes(fineVertices) + bytes(triangles) + bytes(faces) + bytes(polylines) +
         bytes(edges) + bytes(surfaces) + bytes(sides);
}

glm::dvec3 GRepMesh::GetPosition(std::size_t index) const {
  const glm::dvec3 place =
      vertices.empty() ? glm::dvec3(fineVertices[index].x, fineVertices[index].y, fineVertices[index].z)
                       : glm::dvec3(vertices[index].x, vertices[index].y, vertices[index].z);
  return gridOrigin + place * gridStep;
}

namespace {

glm::vec3 DecodeNormal(int nx, int ny) {
  const float a = static_cast<float>(std::max(nx, -127)) / 127.0f;
  const float b = static_cast<float>(std::max(ny, -127)) / 127.0f;
  glm::vec3 normal(a, b, 1.0f - std::abs(a) - std::abs(b));
  if (normal.z < 0.0f) {
    normal.x = (1.0f - std::abs(b)) * (a < 0.0f ? -1.0f : 1.0f);
    normal.y = (1.0f - std::abs(a)) * (b < 0.0f ? -1.0f : 1.0f);
  }
  return glm::normalize(normal);
}

template <typename Vertex>
void CopyPositionsOf(const std::vector<Vertex>& vertices, const glm::dvec3& first, double step, float* target,
                     std::size_t stride) {
  for (const Vertex& vertex : vertices) {
    target[0] = static_cast<float>(first.x + step * vertex.x);
    target[1] = static_cast<float>(first.y + step * vertex.y);
    target[2] = static_cast<float>(first.z + step * vertex.z);
    target += stride;
  }
}

template <typename Vertex>
void CopyNormalsOf(const std::vector<Vertex>& vertices, float* target, std::size_t stride) {
  for (const Vertex& vertex : vertices) {
    const glm::vec3 normal = DecodeNormal(vertex.nx, vertex.ny);
    target[0] = normal.x;
    target[1] = normal.y;
    target[2] = normal.z;
    target += stride;
  }
}

}  // namespace

glm::vec3 GRepMesh::GetNormal(std::size_t index) const {
  return vertices.empty() ? DecodeNormal(fineVertices[index].nx, fineVertices[index].ny)
                          : DecodeNormal(vertices[index].nx, vertices[index].ny);
}

void GRepMesh::CopyPositions(float* target, std::size_t stride, const glm::dvec3& origin) const {
  const glm::dvec3 first = gridOrigin - origin;
  CopyPositionsOf(vertices, first, gridStep, target, stride);
  CopyPositionsOf(fineVertices, first, gridStep, target, stride);
}

void GRepMesh::CopyNormals(float* target, std::size_t stride) const {
  CopyNormalsOf(vertices, target, stride);
  CopyNormalsOf(fineVertices, target, stride);
}

std::vector<std::uint32_t> GRepMesh::MakeFaceOfVertex() const {
  std::vector<std::uint32_t> numbers(GetVertexCount(), GRepEdgeSides::kNoFace);
  for (std::size_t i = 0; i < faces.size(); ++i)
    std::fill_n(numbers.begin() + faces[i].firstVertex, faces[i].vertexCount, static_cast<std::uint32_t>(i));
  return numbers;
}

std::vector<std::uint32_t> GRepMesh::MakeFaceOfTriangle() const {
  std::vector<std::uint32_t> numbers(GetTriangleCount());
  for (std::size_t i = 0; i < faces.size(); ++i)
    std::fill_n(numbers.begin() + faces[i].firstIndex / 3, faces[i].indexCount / 3,
                static_cast<std::uint32_t>(i));
  return numbers;
}

std::uint32_t GRepMesh::FindFace(std::size_t triangle) const {
  // The last face that begins there or before: faces without triangles begin where the next one does.
  const auto behind =
      std::upper_bound(faces.begin(), faces.end(), 3 * triangle,
                       [](std::size_t corner, const GRepFace& face) { return corner < face.firstIndex; });
  return static_cast<std::uint32_t>(behind - faces.begin() - 1);
}

std::vector<std::uint32_t> GRepMesh::MakeSegments(bool onlySharp) const {
  std::vector<std::uint32_t> segments;
  segments.reserve(2 * polylines.size());
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const bool isHidden = onlySharp && i < sides.size() &&
                          (sides[i].kind == GRepEdgeKind::kSeam || sides[i].kind == GRepEdgeKind::kSmooth);
    if (isHidden) continue;
    for (std::uint32_t k = 1; k < edges[i].indexCount; ++k) {
      segments.push_back(polylines[edges[i].firstIndex + k - 1]);
      segments.push_back(polylines[edges[i].firstIndex + k]);
    }
  }
  return segments;
}

}  // namespace mirel

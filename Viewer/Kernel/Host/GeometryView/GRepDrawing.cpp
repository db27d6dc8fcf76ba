#include <Viewer/Kernel/Host/GeometryView/GRepDrawing.h>

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace mirel {

namespace {

constexpr std::uint32_t kUnused = 0xFFFFFFFFu;

// Keeps the vertices that have a new number.
template <typename Vertex>
void Keep(std::vector<Vertex>& vertices, const std::vector<std::uint32_t>& numbers) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < vertices.size(); ++i)
    if (numbers[i] != kUnused) vertices[kept++] = vertices[i];
  vertices.resize(kept);
}

// New numbers for the vertices of faces, which come first, and for those that the polylines use.
std::vector<std::uint32_t> Renumber(const GRepMesh& mesh) {
  std::vector<std::uint32_t> numbers(mesh.GetVertexCount(), kUnused);
  const std::uint32_t ofFaces =
      mesh.faces.empty() ? 0 : mesh.faces.back().firstVertex + mesh.faces.back().vertexCount;
  std::fill(numbers.begin(), numbers.begin() + ofFaces, 0);
  for (const std::uint32_t vertex : mesh.polylines)
    numbers[vertex] = 0;
  std::uint32_t next = 0;
  for (std::uint32_t& number : numbers)
    if (number != kUnused) number = next++;
  return numbers;
}

}  // namespace

GRepMesh MakeDrawing(const GRepMesh& mesh) {
  GRepMesh drawing = mesh;
  drawing.surfaces.clear();
  drawing.sides.clear();
  if (mesh.sides.size() != mesh.edges.size()) return drawing;
  drawing.polylines.clear();
  for (std::size_t i = 0; i < mesh.edges.size(); ++i) {
    const GRepEdgeKind kind = mesh.sides[i].kind;
    GRepEdge& edge = drawing.edges[i];
    const auto begin = mesh.polylines.begin() + edge.firstIndex;
    edge.firstIndex = static_cast<std::uint32_t>(drawing.polylines.size());
    if (kind == GRepEdgeKind::kSeam || kind == GRepEdgeKind::kSmooth) edge.indexCount = 0;
    drawing.polylines.insert(drawing.polylines.end(), begin, begin + edge.indexCount);
  }
  const std::vector<std::uint32_t> numbers = Renumber(drawing);
  for (std::uint32_t& vertex : drawing.polylines)
    vertex = numbers[vertex];
  Keep(drawing.vertices, numbers);
  Keep(drawing.fineVertices, numbers);
  return drawing;
}

}  // namespace mirel

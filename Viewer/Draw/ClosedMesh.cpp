#include <Viewer/Draw/ClosedMesh.h>

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace mirel {

namespace {

constexpr double kMaxOpenSides = 0.02;

// Faces have vertices of their own, so those at one place get one number: the first of them. Edges are meshed once for
// both faces, and lie on the same places of the grid.
std::vector<std::uint32_t> NumberPlaces(const GRepMesh& mesh) {
  using Place = std::array<std::uint32_t, 3>;
  std::vector<std::pair<Place, std::uint32_t>> places;
  places.reserve(mesh.GetVertexCount());
  for (std::uint32_t i = 0; i < mesh.GetVertexCount(); ++i) {
    if (mesh.vertices.empty())
      places.push_back({{mesh.fineVertices[i].x, mesh.fineVertices[i].y, mesh.fineVertices[i].z}, i});
    else
      places.push_back({{mesh.vertices[i].x, mesh.vertices[i].y, mesh.vertices[i].z}, i});
  }
  std::sort(places.begin(), places.end());
  std::vector<std::uint32_t> numbers(places.size());
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i == 0 || places[i].first != places[i - 1].first) number = places[i].second;
    numbers[places[i].second] = number;
  }
  return numbers;
}

}  // namespace

bool IsClosedMesh(const GRepMesh& mesh) {
  const std::vector<std::uint32_t> numbers = NumberPlaces(mesh);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> sides, backs;
  sides.reserve(mesh.triangles.size());
  for (std::size_t corner = 0; corner < mesh.triangles.size(); ++corner) {
    const std::size_t next = corner % 3 == 2 ? corner - 2 : corner + 1;
    const std::uint32_t from = numbers[mesh.triangles[corner]], to = numbers[mesh.triangles[next]];
    if (from == to) continue;
    sides.emplace_back(from, to);
    backs.emplace_back(to, from);
  }
  std::sort(sides.begin(), sides.end());
  std::sort(backs.begin(), backs.end());
  std::vector<std::pair<std::uint32_t, std::uint32_t>> open;
  std::set_difference(sides.begin(), sides.end(), backs.begin(), backs.end(), std::back_inserter(open));
  return static_cast<double>(open.size()) <= kMaxOpenSides * static_cast<double>(sides.size());
}

}  // namespace mirel

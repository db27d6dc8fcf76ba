#include <Viewer/Draw/DrawPalette.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <map>

namespace mirel {

namespace {

glm::vec3 Drawable(const glm::vec3& color) {
  glm::vec3 result;
  for (int i = 0; i < 3; ++i)
    result[i] = color[i] > 0.0f ? (color[i] < 1.0f ? color[i] : 1.0f) : 0.0f;  // 0 for what is not a number
  return result;
}

double GetArea(const GRepMesh& mesh, const GRepFace& face) {
  double area = 0.0;
  for (std::uint32_t i = face.firstIndex; i < face.firstIndex + face.indexCount; i += 3) {
    const glm::dvec3 a = mesh.GetPosition(mesh.triangles[i]), b = mesh.GetPosition(mesh.triangles[i + 1]),
                     c = mesh.GetPosition(mesh.triangles[i + 2]);
    area += 0.5 * glm::length(glm::cross(b - a, c - a));
  }
  return area;
}

// The colour that covers more of a body's surface than any other.
glm::vec3 FindCommonest(const GRepMesh& mesh, const std::vector<glm::vec3>& faceColors) {
  std::map<std::array<float, 3>, double> areas;
  for (std::size_t face = 0; face < faceColors.size(); ++face) {
    const glm::vec3& color = faceColors[face];
    areas[{color.r, color.g, color.b}] += GetArea(mesh, mesh.faces[face]);
  }
  const auto most = std::max_element(areas.begin(), areas.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  return {most->first[0], most->first[1], most->first[2]};
}

}  // namespace

glm::vec3 DrawPalette::GetBodyColor(const BrepSceneNode& node) {
  return node.GetColor().r < 0.0f ? BrepSceneNode::kDefaultColor : Drawable(node.GetColor());
}

DrawPalette::DrawPalette(const glm::vec3& color) : material_(Drawable(color)) {}

DrawPalette::DrawPalette(const BrepSceneNode& node) : material_(GetBodyColor(node)) {
  if (!node.GetGRep()) return;
  const GRepMesh& mesh = node.GetGRep()->GetMesh();
  for (const auto& [face, color] : node.GetFaceColors()) {
    if (face >= mesh.faces.size() || color.r < 0.0f) continue;
    if (faces_.empty()) faces_.assign(mesh.faces.size(), material_);
    faces_[face] = Drawable(color);
  }
  if (!faces_.empty() && node.GetColor().r < 0.0f) material_ = FindCommonest(mesh, faces_);
}

}  // namespace mirel

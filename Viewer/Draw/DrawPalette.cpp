#include <Viewer/Draw/DrawPalette.h>

namespace mirel {

namespace {

glm::vec3 Drawable(const glm::vec3& color) {
  glm::vec3 result;
  for (int i = 0; i < 3; ++i)
    result[i] = color[i] > 0.0f ? (color[i] < 1.0f ? color[i] : 1.0f) : 0.0f;  // 0 for what is not a number
  return result;
}

}  // namespace

glm::vec3 DrawPalette::GetBodyColor(const BrepSceneNode& node) {
  return node.GetColor().r < 0.0f ? BrepSceneNode::kDefaultColor : Drawable(node.GetColor());
}

DrawPalette::DrawPalette(const BrepSceneNode& node, std::size_t faceCount) : body_(GetBodyColor(node)) {
  for (const auto& [face, color] : node.GetFaceColors()) {
    if (face >= faceCount || color.r < 0.0f) continue;
    if (faces_.empty()) faces_.assign(faceCount, body_);
    faces_[face] = Drawable(color);
  }
}

}  // namespace mirel

#include <Programs/mirel-viewer/Document/NodeColoring.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <QColor>

#include <utility>

namespace mirel {

namespace {

// Colours that differ well however many there are: each next hue is a golden section of the circle away.
glm::vec3 PickColor(unsigned long long number) {
  const double hue = static_cast<double>(number % 10007) * 0.6180339887498949;
  const QColor color = QColor::fromHsvF(static_cast<float>(hue - static_cast<long>(hue)),
                                        number % 2 == 0 ? 0.55f : 0.4f, number % 3 == 0 ? 0.75f : 0.9f);
  return {color.redF(), color.greenF(), color.blueF()};
}

}  // namespace

NodeColoring::NodeColoring(DisplaySettings::Coloring coloring,
                           const std::vector<std::shared_ptr<SceneNode>>& roots,
                           std::shared_ptr<const SceneLook> look)
    : coloring_(coloring), look_(std::move(look)) {
  for (const std::shared_ptr<SceneNode>& root : roots) {
    files_.emplace(root.get(), static_cast<unsigned>(files_.size()));
  }
}

DrawScene::BodyColor NodeColoring::GetFunction() const {
  switch (coloring_) {
  case DisplaySettings::Coloring::kOwn:
    break;
  case DisplaySettings::Coloring::kByPart:
    return [](const BrepSceneNode& node) { return PickColor(node.GetUserId()); };
  case DisplaySettings::Coloring::kByFile:
    return [files = files_](const BrepSceneNode& node) {
      const auto file = files.find(node.GetPath().front());
      return PickColor(file == files.end() ? 0 : file->second);
    };
  case DisplaySettings::Coloring::kByDifference:
    return [look = look_ ? look_ : std::make_shared<const SceneLook>()](const BrepSceneNode& node) {
      const auto color = look->colors.find(&node);
      return color == look->colors.end() ? BrepSceneNode::kDefaultColor : color->second;
    };
  case DisplaySettings::Coloring::kUniform:
    return [](const BrepSceneNode&) { return BrepSceneNode::kDefaultColor; };
  }
  return nullptr;
}

}  // namespace mirel

#pragma once

#include <Programs/mirel-viewer/Document/DisplaySettings.h>
#include <Programs/mirel-viewer/Document/SceneLook.h>

#include <Viewer/Draw/DrawScene.h>

#include <memory>
#include <unordered_map>
#include <vector>

namespace mirel {

class SceneNode;

/// Colours that tell parts, files or differences apart, in place of those of the model.
class NodeColoring {
 public:
  NodeColoring(DisplaySettings::Coloring coloring, const std::vector<std::shared_ptr<SceneNode>>& roots,
               std::shared_ptr<const SceneLook> look);

  /// What a `DrawScene` is made with; it owns all that it needs.
  DrawScene::BodyColor GetFunction() const;

 private:
  DisplaySettings::Coloring coloring_;
  std::unordered_map<const SceneNode*, unsigned> files_;
  std::shared_ptr<const SceneLook> look_;
};

}  // namespace mirel

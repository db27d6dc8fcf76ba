#include <Programs/mirel/Open/GraphicsOpener.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Open/SceneOpener.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

namespace mirel {

GraphicsOpener::GraphicsOpener(Console& console, const std::string& path, SceneOpening::Nodes nodes)
    : console_(console), path_(path), log_(console, path) {
  if (const std::shared_ptr<SceneReader> reader = SceneOpener::FindReader(console, path)) {
    opening_ = std::make_unique<SceneOpening>(reader, ModelPath::FindIndex(path),
                                              StagedReader::Bodies::kCheck, nullptr, nodes);
  }
}

std::shared_ptr<GroupSceneNode> GraphicsOpener::TakeRoot() {
  if (!opening_) {
    return nullptr;
  }
  const std::shared_ptr<SceneNode> root = opening_->TakeRoot();
  if (!root) {
    SceneOpener::ExplainFailure(console_, path_, log_);
  }
  return std::dynamic_pointer_cast<GroupSceneNode>(root);
}

bool GraphicsOpener::FinishWithoutBodies() {
  if (opening_) {
    opening_->Cancel();
  }
  return Finish();
}

bool GraphicsOpener::Finish() {
  if (!opening_) {
    return false;
  }
  opening_->Wait();
  return log_.GetFailureCount() == 0;
}

}  // namespace mirel

#include <Programs/mirel/Open/SceneOpener.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ModelPath.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

namespace mirel {

std::shared_ptr<SceneReader> SceneOpener::FindReader(Console& console, const std::string& path) {
  const std::string refusal = ModelPath::Check(path);
  if (!refusal.empty()) {
    console.Error(path, refusal);
    return nullptr;
  }
  std::shared_ptr<SceneReader> reader =
      SceneExchangeManager::Instance().FindReader(ModelPath::FindIndex(path));
  if (!reader) {
    console.Error(path, "no reader is registered for files of this kind");
  }
  return reader;
}

void SceneOpener::ExplainFailure(Console& console, const std::string& path, const LogRecorder& log) {
  if (log.GetFailureCount() == 0) {
    console.Error(path, "is not a model folder: its index has no types and items");
  }
}

std::shared_ptr<GroupSceneNode> SceneOpener::Open(Console& console, const std::string& path, bool& complete) {
  complete = false;
  const std::shared_ptr<SceneReader> reader = FindReader(console, path);
  if (!reader) {
    return nullptr;
  }
  const LogRecorder log(console, path);
  const std::shared_ptr<SceneNode> root = reader->Load(ModelPath::FindIndex(path), nullptr);
  if (!root) {
    ExplainFailure(console, path, log);
  }
  complete = root && log.GetFailureCount() == 0;
  return std::dynamic_pointer_cast<GroupSceneNode>(root);
}

}  // namespace mirel

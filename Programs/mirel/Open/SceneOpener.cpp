#include <Programs/mirel/Open/SceneOpener.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace mirel {

std::string SceneOpener::FindIndex(const std::string& path) {
  std::error_code ignored;
  const fs::path given = fs::u8path(path);
  return fs::is_directory(given, ignored) ? (given / "index.gz").u8string() : path;
}

std::string SceneOpener::Check(const std::string& path) {
  std::error_code failure;
  const fs::file_status status = fs::status(fs::u8path(path), failure);
  if (!fs::exists(status)) {
    return failure && status.type() != fs::file_type::not_found ? failure.message() : "no such folder";
  }
  if (!fs::is_directory(status)) {
    return fs::is_regular_file(status) ? "" : "not a regular file";
  }
  if (!fs::exists(fs::u8path(FindIndex(path)), failure)) {
    return "is not a model folder (it has no index.gz)";
  }
  return std::string();
}

std::shared_ptr<GroupSceneNode> SceneOpener::Open(Console& console, const std::string& path, bool& complete) {
  complete = false;
  const std::string refusal = Check(path);
  if (!refusal.empty()) {
    console.Error(path, refusal);
    return nullptr;
  }
  const std::string index = FindIndex(path);
  const std::shared_ptr<SceneReader> reader = SceneExchangeManager::Instance().FindReader(index);
  if (!reader) {
    console.Error(path, "no reader is registered for files of this kind");
    return nullptr;
  }
  const LogRecorder log(console, path);
  const std::shared_ptr<SceneNode> root = reader->Load(index, nullptr);
  if (!root && log.GetFailureCount() == 0) {
    console.Error(path, "is not a model folder: its index has no types and items");
  }
  complete = root && log.GetFailureCount() == 0;
  return std::dynamic_pointer_cast<GroupSceneNode>(root);
}

}  // namespace mirel

#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Host/Renderer/StagedReader.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace mirel {

namespace {

bool OpensFolder(const SceneReader& reader, const std::string& path) {
  const auto* const staged = dynamic_cast<const StagedReader*>(&reader);
  return staged != nullptr && !staged->FindFile(path).empty();
}

}  // namespace

SceneExchangeManager::SceneExchangeManager() = default;

SceneExchangeManager::~SceneExchangeManager() = default;

SceneExchangeManager& SceneExchangeManager::Instance() {
  // Never destroyed: the readers' code lies in modules that may be gone when static objects are destroyed.
  static SceneExchangeManager* const instance = new SceneExchangeManager;
  return *instance;
}

void SceneExchangeManager::AddReader(const std::shared_ptr<SceneReader>& reader) {
  if (!reader) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::find(readers_.begin(), readers_.end(), reader) == readers_.end()) readers_.push_back(reader);
}

std::vector<std::shared_ptr<SceneReader>> SceneExchangeManager::GetReaders() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return readers_;
}

std::shared_ptr<SceneReader> SceneExchangeManager::FindReader(const std::string& path) const {
  const std::string name = path.substr(PathUtil::GetFolderPath(path).size());
  const std::size_t dot = name.rfind('.');
  const std::string extension = dot == std::string::npos ? std::string() : name.substr(dot);
  const std::vector<std::shared_ptr<SceneReader>> readers = GetReaders();
  std::error_code ignored;
  if (std::filesystem::is_directory(std::filesystem::u8path(path), ignored)) {
    for (auto reader = readers.rbegin(); reader != readers.rend(); ++reader) {
      if (OpensFolder(**reader, path)) return *reader;
    }
  }
  for (auto reader = readers.rbegin(); reader != readers.rend(); ++reader) {
    if ((*reader)->Support(extension)) return *reader;
  }
  return nullptr;
}

}  // namespace mirel

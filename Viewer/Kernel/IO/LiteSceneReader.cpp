#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/Host/Core/StringUtil.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/FolderLoad.h>
#include <Viewer/Kernel/Scene/SceneBuilder.h>

#include <set>

namespace mirel {

LiteSceneReader::LiteSceneReader() = default;

LiteSceneReader::~LiteSceneReader() = default;

std::shared_ptr<SceneNode> LiteSceneReader::Load(const Path& path, MaterialInstance* material) {
  return Load(path.GetText(), material);
}

std::shared_ptr<SceneNode> LiteSceneReader::Load(const std::wstring& path, MaterialInstance* material) {
  return Load(StringUtil::WStr2AStr(path), material);
}

std::shared_ptr<SceneNode> LiteSceneReader::Load(const std::string& path, MaterialInstance*) {
  FolderLoad load(path);
  if (!load.LoadIndex()) return nullptr;
  load.LoadGReps();
  load.LoadShapes();
  return BuildScene(load.GetModel());
}

void LiteSceneReader::ListFormats(std::map<std::string, std::string>& formats) {
  formats["Lite"] = "*.gz";
}

bool LiteSceneReader::Support(std::string extension) const {
  static const std::set<std::string> supported{".gz"};
  return supported.count(extension) > 0;
}

}  // namespace mirel

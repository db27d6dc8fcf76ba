#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

namespace mirel {

SceneReader::SceneReader() = default;

SceneReader::~SceneReader() = default;

std::shared_ptr<SceneNode> SceneReader::Load(std::map<std::string, std::istream*>&, MaterialInstance*) {
  return nullptr;
}

}  // namespace mirel

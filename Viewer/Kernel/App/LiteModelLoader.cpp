#include <Viewer/Kernel/App/LiteModelLoader.h>

#include <Viewer/Kernel/Host/Application/BaseApplication.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Viewer.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>
#include <Viewer/Kernel/Scene/SceneBuilder.h>

namespace mirel {

LiteModelLoader::LiteModelLoader() : model_(std::make_unique<LiteModel>()) {}

LiteModelLoader::~LiteModelLoader() = default;

void LiteModelLoader::Begin() {}

bool LiteModelLoader::LoadString(const std::string& name, const std::string& text) {
  return name == "Scene" && LiteModelReader(*model_).Load(text);
}

bool LiteModelLoader::LoadData(const std::string& name, const char* data, unsigned int size) {
  if (name == "Shape") return PkgShapeReader(*model_).Load(data, size);
  if (name == "GRep") return PkgGRepReader(*model_).Load(data, size);
  return false;
}

bool LiteModelLoader::End() {
  const BaseApplication* const application = BaseApplication::Get();
  if (!application) {
    MIREL_FAILURE("Application is null!");
    return false;
  }
  const std::shared_ptr<Viewer> viewer = application->GetActiveViewer();
  if (!viewer) {
    MIREL_FAILURE("Viewer is null!");
    return false;
  }
  viewer->GetContext()->GetScene()->AddNode(BuildScene(*model_));
  viewer->RequestUpdate(kRedraw);
  return true;
}

}  // namespace mirel

#include <Viewer/Kernel/App/ImportLiteModelCommand.h>

#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/Viewer.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Scene/SceneBuilder.h>

namespace mirel {

ImportLiteModelCommand::ImportLiteModelCommand() {
  SetName("ImportLiteModel");
}

ImportLiteModelCommand::~ImportLiteModelCommand() = default;

bool ImportLiteModelCommand::Execute(CommandContext* context) {
  if (!context || !context->GetViewer()) {
    MIREL_FAILURE("Viewer is null!");
    return false;
  }
  const Path path = DialogUtil::OpenFileDialog("index.gz", {"Lite Model Files (.gz)", "*.gz"});
  if (!path) return false;
  const std::shared_ptr<SceneNode> node = LiteSceneReader().Load(path, nullptr);
  ViewContext* const view = context->GetViewer()->GetContext();
  if (node) view->GetScene()->AddNode(node);
  view->RequestUpdate(kRedraw);
  return true;
}

}  // namespace mirel

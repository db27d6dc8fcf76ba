#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <memory>

namespace {

void Paint(mirel::SceneNode& node, const glm::vec3& color) {
  if (node.GetKind() == mirel::SceneNodeKind::kBrep) {
    static_cast<mirel::BrepSceneNode&>(node).SetColor(color);
  }
  for (const std::shared_ptr<mirel::SceneNode>& child : node.GetNodes()) {
    Paint(*child, color);
  }
}

class PaintCommand : public mirel::Command {
 public:
  PaintCommand() { SetName("Paint"); }

  std::string GetUIName() const override { return "Paint all bodies green"; }
  std::string Query(const std::string& question) const override {
    return question == "shortcut" ? "Ctrl+Alt+G" : question == "tip" ? "Faces keep colors of their own" : "";
  }
  bool Execute(mirel::CommandContext* context) override {
    for (const auto& root : context->GetViewer()->GetContext()->GetScene()->GetNodes()) {
      Paint(*root, {0.1f, 0.6f, 0.2f});
    }
    context->GetViewer()->RequestUpdate(mirel::UpdateScene);
    return true;
  }
};

[[maybe_unused]] const bool g_registered = [] {
  mirel::CommandManager::Instance().Register(std::make_shared<PaintCommand>());
  return true;
}();

}  // namespace

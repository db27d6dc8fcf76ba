#include <Programs/mirel/View/WindowlessViewer.h>

#include <Programs/mirel/Open/NodeTreePrinter.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

namespace mirel {

WindowlessViewer::WindowlessViewer() : viewer_(std::make_shared<Viewer>()) {
  application_.SetActiveViewer(viewer_);
}

WindowlessViewer::~WindowlessViewer() = default;

bool WindowlessViewer::IsEmpty() const {
  return viewer_->GetContext()->GetScene()->GetNodes().empty();
}

bool WindowlessViewer::PrintScene(Console& console, bool json, std::uint64_t depth, const Extras* extras) {
  GroupSceneNode all;
  for (const std::shared_ptr<SceneNode>& node : viewer_->GetContext()->GetScene()->GetNodes()) {
    const auto* import = dynamic_cast<const GroupSceneNode*>(node.get());
    if (import == nullptr) {
      all.AddNode(node);
      continue;
    }
    for (const std::shared_ptr<SceneNode>& child : import->GetNodes()) {
      all.AddNode(child);
    }
  }
  NodeTreePrinter printer(console, json, depth);
  printer.SetExtras(extras);
  return printer.Print(all);
}

}  // namespace mirel

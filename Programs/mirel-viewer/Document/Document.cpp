#include <Programs/mirel-viewer/Document/Document.h>

#include <Programs/mirel-viewer/Document/BackgroundThread.h>
#include <Programs/mirel-viewer/Document/NodeColoring.h>
#include <Programs/mirel-viewer/Document/OtherNodes.h>
#include <Programs/mirel-viewer/Document/ViewChange.h>

#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace mirel {

namespace {

constexpr int kCasterDelay = 1000;  // ms, for a picture that nobody sees

}  // namespace

Document::Document(std::shared_ptr<Viewer> viewer) : viewer_(std::move(viewer)) {
  // Snapshots come in the order in which they were asked for.
  workers_.setMaxThreadCount(1);
  casters_.setMaxThreadCount(1);
  casterDelay_.setSingleShot(true);
  casterDelay_.setInterval(kCasterDelay);
  connect(&casterDelay_, &QTimer::timeout, this, &Document::MakeCaster);
}

Document::~Document() {
  ++snapshotNumber_;
  workers_.clear();
  WaitForSnapshot();
}

const std::vector<std::shared_ptr<SceneNode>>& Document::GetRoots() const {
  return viewer_->GetContext()->GetScene()->GetNodes();
}

ModelFile Document::GetFile(const SceneNode* root) const {
  const auto file = files_.find(root);
  return file == files_.end() ? ModelFile() : file->second;
}

void Document::RemoveRoot(const SceneNode* root) {
  WaitForSnapshot();
  emit RootRemoved(root);
  files_.erase(root);
  viewer_->GetContext()->GetScene()->RemoveNode(*root);
  TakeSceneChanges();
}

void Document::Clear() {
  while (!GetRoots().empty()) {
    RemoveRoot(GetRoots().back().get());
  }
}

void Document::TakeSceneChanges() {
  viewer_->GetContext()->TakeUpdate();
  std::vector<const SceneNode*> roots;
  for (const std::shared_ptr<SceneNode>& root : GetRoots()) {
    roots.push_back(root.get());
  }
  const bool lostSome = std::any_of(knownRoots_.begin(), knownRoots_.end(), [&](const SceneNode* known) {
    return std::find(roots.begin(), roots.end(), known) == roots.end();
  });
  knownRoots_ = roots;
  if (lostSome) {
    ForgetNodesOutside();
  }
  RenewSnapshot();
  emit RootsChanged();
}

// States that can be come back to name nodes that may be gone.
void Document::ForgetNodesOutside() {
  undo_.clear();
  ViewState state;
  state.sections = state_.sections;
  state.explosion = state_.explosion;
  state_ = std::move(state);
  look_.reset();
  aroundAlone_.clear();
  selection_.clear();
  current_ = nullptr;
  hovered_ = nullptr;
  snapshot_ = Snapshot();
  emit SnapshotChanged();
  emit SelectionChanged();
  emit HoverChanged();
  emit StateChanged();
}

void Document::RenewSnapshot() {
  const unsigned number = ++snapshotNumber_;
  workers_.clear();
  workers_.start([this, number, roots = GetRoots(), visibility = MakeVisibility(),
                  coloring = NodeColoring(display_.coloring, GetRoots(), look_)] {
    try {
      Deliver(number, Snapshot(std::make_shared<const DrawScene>(roots, visibility, coloring.GetFunction())));
    } catch (const std::exception&) {
      // Memory has ended: what was drawn before stays, and what was opened is listed in the tree.
    }
  });
}

// From any thread.
void Document::Deliver(unsigned number, const Snapshot& made) {
  QMetaObject::invokeMethod(this, [this, number, made] {
    if (number != snapshotNumber_) {
      return;
    }
    snapshot_ = made;
    takenNumber_ = number;
    emit SnapshotChanged();
    if (!made.caster) {
      casterDelay_.start();
    }
  });
}

void Document::MakeCaster() {
  casterDelay_.stop();
  if (!snapshot_.scene || snapshot_.caster) {
    return;
  }
  casters_.clear();
  casters_.start([this, number = takenNumber_, made = snapshot_]() mutable {
    StepBack();
    try {
      made.caster = std::make_shared<const RayCaster>(made.scene, RayCaster::Aim::kMemory);
      Deliver(number, made);
    } catch (const std::exception&) {
      // Memory has ended: the graphics card tells what is under the mouse.
    }
  });
}

void Document::WaitForSnapshot() {
  workers_.waitForDone();
  casters_.waitForDone();
}

void Document::ChangeState(const QString& text, const std::function<void(ViewState&)>& change, int mergeKey) {
  ViewState after = state_;
  change(after);
  undo_.push(new ViewChange(*this, state_, std::move(after), text, mergeKey));
}

void Document::ReplaceState(const std::function<void(ViewState&)>& change) {
  ViewState after = state_;
  change(after);
  SetState(after);
}

void Document::SetState(const ViewState& state) {
  const bool redraw =
      state.hidden != state_.hidden || state.ghosts != state_.ghosts || state.alone != state_.alone;
  state_ = state;
  aroundAlone_.clear();
  for (const SceneNode* node : state_.alone) {
    const std::vector<const SceneNode*> path = node->GetPath();
    aroundAlone_.insert(path.begin(), path.end());
  }
  if (redraw) {
    RenewSnapshot();
  }
  emit StateChanged();
}

void Document::Hide(const Nodes& nodes) {
  ChangeState(tr("hide"), [&](ViewState& state) { state.hidden.insert(nodes.begin(), nodes.end()); });
}

void Document::Show(const Nodes& nodes) {
  ChangeState(tr("show"), [&](ViewState& state) {
    for (const SceneNode* node : nodes) {
      state.hidden.erase(node);
      state.ghosts.erase(node);
      if (!state.alone.empty()) {
        state.alone.insert(node);
      }
    }
  });
}

void Document::Isolate(const Nodes& nodes) {
  ChangeState(tr("isolate"), [&](ViewState& state) {
    state.alone = nodes;
    for (const SceneNode* node : nodes) {
      state.hidden.erase(node);
      state.ghosts.erase(node);
    }
  });
}

void Document::Ghost(const Nodes& nodes) {
  ChangeState(tr("ghost"), [&](ViewState& state) { state.ghosts.insert(nodes.begin(), nodes.end()); });
}

void Document::GhostOthers(const Nodes& nodes) {
  ChangeState(tr("ghost the rest"), [&](ViewState& state) { state.ghosts = FindOthers(GetRoots(), nodes); });
}

void Document::ShowAll() {
  ChangeState(tr("show all"), [](ViewState& state) {
    state.hidden.clear();
    state.ghosts.clear();
    state.alone.clear();
  });
}

void Document::SetLook(std::shared_ptr<const SceneLook> look) {
  look_ = std::move(look);
  RenewSnapshot();
  emit StateChanged();
}

NodeVisibility Document::MakeVisibility() const {
  NodeVisibility visibility = state_.MakeVisibility();
  if (look_) {
    for (const SceneNode* node : look_->hidden) {
      visibility.Hide(node);
    }
  }
  if (look_ && state_.alone.empty()) {  // what is shown alone has no glass around it
    for (const SceneNode* node : look_->ghosts) {
      visibility.Ghost(node);
    }
  }
  return visibility;
}

bool Document::IsGhost(const SceneNode& node) const {
  return state_.ghosts.count(&node) > 0 || (look_ && look_->ghosts.count(&node) > 0);
}

bool Document::IsHidden(const SceneNode& node) const {
  if (state_.hidden.empty() && state_.alone.empty() && !look_ && node.IsVisible()) {
    return false;
  }
  bool isAlone = state_.alone.empty();
  for (const SceneNode* above : node.GetPath()) {
    if (state_.hidden.count(above) > 0 || (look_ && look_->hidden.count(above) > 0) || !above->IsVisible()) {
      return true;
    }
    isAlone = isAlone || state_.alone.count(above) > 0;
  }
  if (isAlone) {
    return false;
  }
  return aroundAlone_.count(&node) == 0;
}

void Document::SetDisplay(const DisplaySettings& display) {
  const bool recolor = display.coloring != display_.coloring;
  display_ = display;
  if (recolor) {
    RenewSnapshot();
  }
  emit DisplayChanged();
}

void Document::Select(Nodes nodes, const SceneNode* current) {
  selection_ = std::move(nodes);
  current_ = selection_.count(current) > 0 ? current : selection_.empty() ? nullptr : *selection_.begin();
  emit SelectionChanged();
}

void Document::ToggleSelected(const SceneNode* node) {
  Nodes nodes = selection_;
  if (nodes.erase(node) == 0) {
    nodes.insert(node);
  }
  Select(std::move(nodes), node);
}

void Document::SetHovered(const SceneNode* node) {
  if (node != hovered_) {
    hovered_ = node;
    emit HoverChanged();
  }
}

}  // namespace mirel

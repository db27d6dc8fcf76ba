#pragma once

#include <Programs/mirel-viewer/Document/DisplaySettings.h>
#include <Programs/mirel-viewer/Document/SceneLook.h>
#include <Programs/mirel-viewer/Document/Snapshot.h>
#include <Programs/mirel-viewer/Document/ViewState.h>

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <QTimer>
#include <QUndoStack>

#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;
class Viewer;

/// Where nodes come from.
struct ModelFile {
  QString path;  ///< what was opened
  QString
      folder;  ///< the model folder it was read from, which for a CAD file lies in the cache; empty for an archive
};

/// What the window shows: the scene of the host's viewer, how it is seen, and what is selected of it.
///
/// All panels change it and hear of changes here, so none knows another. Used by the window's thread; snapshots are made
/// on another, which reads the nodes meanwhile: whoever changes nodes calls `WaitForSnapshot` before.
class Document : public QObject {
  Q_OBJECT

 public:
  using Nodes = std::unordered_set<const SceneNode*>;

  explicit Document(std::shared_ptr<Viewer> viewer);
  ~Document() override;

  Viewer& GetViewer() { return *viewer_; }
  /// The top-level nodes: one for each opened file, and what modules added.
  const std::vector<std::shared_ptr<SceneNode>>& GetRoots() const;
  void RemoveRoot(const SceneNode* root);
  void Clear();
  /// Where a root comes from; empty paths for one that a module made.
  ModelFile GetFile(const SceneNode* root) const;
  void SetFile(const SceneNode* root, const ModelFile& file) { files_[root] = file; }
  /// To be called after anything else has changed the scene.
  void TakeSceneChanges();

  const Snapshot& GetSnapshot() const { return snapshot_; }
  /// Begins to make what finds bodies under the mouse, which is in the next snapshot. To be called when the last one is drawn; else
  /// that happens by itself a little later.
  void MakeCaster();
  void WaitForSnapshot();

  const ViewState& GetState() const { return state_; }
  /// Changes the state, as a step that can be taken back; steps with one key that follow each other are one.
  void ChangeState(const QString& text, const std::function<void(ViewState&)>& change, int mergeKey = -1);
  /// The same without a step: how the model was seen the last time.
  void ReplaceState(const std::function<void(ViewState&)>& change);
  QUndoStack& GetUndoStack() { return undo_; }

  void Hide(const Nodes& nodes);
  void Show(const Nodes& nodes);
  void Isolate(const Nodes& nodes);
  void Ghost(const Nodes& nodes);
  /// Of everything but these.
  void GhostOthers(const Nodes& nodes);
  void ShowAll();
  /// Whether a node is hidden, by the user or since the scene looks so, or left out because others are shown alone.
  bool IsHidden(const SceneNode& node) const;
  bool IsGhost(const SceneNode& node) const;

  /// How the scene looks before users change anything; nothing for a look of its own. It goes when any root goes.
  void SetLook(std::shared_ptr<const SceneLook> look);

  const DisplaySettings& GetDisplay() const { return display_; }
  void SetDisplay(const DisplaySettings& display);

  const Nodes& GetSelection() const { return selection_; }
  /// What was selected last; null when nothing is.
  const SceneNode* GetCurrent() const { return current_; }
  void Select(Nodes nodes, const SceneNode* current = nullptr);
  void ToggleSelected(const SceneNode* node);

  const SceneNode* GetHovered() const { return hovered_; }
  void SetHovered(const SceneNode* node);

 signals:
  void RootsChanged();
  /// Sent before a root goes: whoever holds nodes below it lets go of them.
  void RootRemoved(const mirel::SceneNode* root);
  void SnapshotChanged();
  void StateChanged();
  void DisplayChanged();
  void SelectionChanged();
  void HoverChanged();

 private:
  friend class ViewChange;

  void SetState(const ViewState& state);
  NodeVisibility MakeVisibility() const;
  void RenewSnapshot();
  void Deliver(unsigned number, const Snapshot& made);
  void ForgetNodesOutside();

  std::shared_ptr<Viewer> viewer_;
  std::vector<const SceneNode*> knownRoots_;
  std::unordered_map<const SceneNode*, ModelFile> files_;
  Snapshot snapshot_;
  unsigned snapshotNumber_ = 0,
           takenNumber_ = 0;  // of the one that was asked for last, and of the one that is there
  ViewState state_;
  std::shared_ptr<const SceneLook> look_;
  Nodes aroundAlone_;  // what is shown alone, and all that it is in
  DisplaySettings display_;
  Nodes selection_;
  const SceneNode* current_ = nullptr;
  const SceneNode* hovered_ = nullptr;
  QUndoStack undo_;
  QThreadPool workers_;  // make scenes, one after the other
  QThreadPool casters_;  // make ray casters, behind everything else
  QTimer casterDelay_;
};

}  // namespace mirel

#pragma once

#include <QMainWindow>
#include <QStringList>

#include <memory>

class QFileSystemWatcher;
class QLabel;
class QProgressBar;
class QToolButton;

namespace mirel {

class CommandMenus;
class Comparison;
class CutPanel;
class DesktopHost;
class Document;
class MeasureSession;
class MessagesPanel;
class ModelOpener;
class ModelView;
class PartsPanel;
class TreePanel;

/// The window: the picture in the middle, panels around it, menus of all commands.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  /// How far from an edge or a vertex a click still means it while measuring, in pixels.
  static constexpr double kSnapTolerance = 6.0;

  /// For the viewer of a host, which must outlive the window. Modules are loaded before. The files are being opened while the
  /// window is still made.
  explicit MainWindow(DesktopHost& host, const QStringList& paths = {});
  ~MainWindow() override;

  Document& GetDocument() { return *document_; }
  ModelView& GetView() { return *view_; }
  ModelOpener& GetOpener() { return *opener_; }
  TreePanel& GetTree() { return *tree_; }
  PartsPanel& GetParts() { return *parts_; }
  CommandMenus& GetMenus() { return *menus_; }
  Comparison& GetComparison() { return *comparison_; }

  void Open(const QStringList& paths);
  /// Waits a moment for what is being opened: a small model is there before the window would be, which then comes up with it.
  void WaitForModel();
  /// Opens in place of what is open.
  void Replace(const QStringList& paths);
  /// Shows what is different between two versions, in place of what is open.
  void Compare(const QString& older, const QString& newer);
  /// Opens again what is open, as it is now.
  void Reload();

  /// Shows the panel of what was measured.
  void ShowMeasures();

  /// Says something in the panel of messages, which is shown then.
  void Tell(const QStringList& messages);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  QDockWidget* AddPanel(QWidget* panel, const QString& title, Qt::DockWidgetArea area);
  void MakePanels();
  void ConnectComparison();
  void SaveState();
  void MakeCommands();
  void MakeStatusBar();
  void ShowProgress(const QString& text, int percent);
  void ShowIdle();
  void ShowSelection();
  void ShowMenu(const QPoint& globalPoint);
  void TakeOpened(const QString& path, const class SceneNode* root);
  void TakeFileChange(const QString& path);
  bool TakeMeasureClick(const QPointF& point);
  void ShowSnap(const QPointF& point);

  DesktopHost& host_;
  std::unique_ptr<Document> document_;
  std::unique_ptr<MeasureSession> measures_;
  ModelOpener* opener_;
  std::unique_ptr<Comparison> comparison_;
  ModelView* view_;
  TreePanel* tree_;
  PartsPanel* parts_;
  CutPanel* cut_;
  QDockWidget* measuresDock_;
  QDockWidget* compareDock_;
  MessagesPanel* messages_;
  QDockWidget* messagesDock_;
  CommandMenus* menus_ = nullptr;
  QFileSystemWatcher* watcher_;
  QLabel* hoverText_;
  QLabel* progressText_;
  QProgressBar* progress_;
  QToolButton* cancel_;
};

}  // namespace mirel

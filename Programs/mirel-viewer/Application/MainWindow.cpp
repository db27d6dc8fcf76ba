#include <Programs/mirel-viewer/Application/MainWindow.h>

#include <Programs/mirel-viewer/Application/DesktopHost.h>
#include <Programs/mirel-viewer/Application/RecentFiles.h>
#include <Programs/mirel-viewer/Application/SavedState.h>
#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Commands/ViewerCommands.h>
#include <Programs/mirel-viewer/Compare/CompareCommands.h>
#include <Programs/mirel-viewer/Compare/ComparePanel.h>
#include <Programs/mirel-viewer/Compare/Comparison.h>
#include <Programs/mirel-viewer/Compare/DifferenceMarks.h>
#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Measure/MeasureCommands.h>
#include <Programs/mirel-viewer/Measure/MeasureLabels.h>
#include <Programs/mirel-viewer/Measure/MeasurePanel.h>
#include <Programs/mirel-viewer/Measure/MeasureSession.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>
#include <Programs/mirel-viewer/Panels/CutPanel.h>
#include <Programs/mirel-viewer/Panels/MessagesPanel.h>
#include <Programs/mirel-viewer/Properties/PropertiesPanel.h>
#include <Programs/mirel-viewer/Tree/PartsPanel.h>
#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>
#include <Programs/mirel-viewer/Tree/TreePanel.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QCloseEvent>
#include <QDockWidget>
#include <QEventLoop>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QSettings>
#include <QStatusBar>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

namespace mirel {

namespace {

constexpr int kPatience = 30;              // ms
constexpr double kAroundDifference = 1.6;  // how much more than a difference is seen, so that one knows where

}  // namespace

MainWindow::MainWindow(DesktopHost& host, const QStringList& paths) : host_(host) {
  setWindowTitle("Mirel");
  setAcceptDrops(true);
  resize(1280, 820);
  document_ = std::make_unique<Document>(host_.GetActiveViewer());
  opener_ = new ModelOpener(*document_);
  Open(paths);
  measures_ = std::make_unique<MeasureSession>(*document_);
  comparison_ = std::make_unique<Comparison>(*document_, *opener_);
  view_ = new ModelView(*document_, this);
  setCentralWidget(view_);
  watcher_ = new QFileSystemWatcher(this);
  MakePanels();
  MakeStatusBar();
  MakeCommands();

  connect(opener_, &ModelOpener::Progressed, this, &MainWindow::ShowProgress);
  connect(opener_, &ModelOpener::Idle, this, &MainWindow::ShowIdle);
  connect(opener_, &ModelOpener::Opened, this, &MainWindow::TakeOpened);
  connect(opener_, &ModelOpener::Told, this, &MainWindow::Tell);
  connect(measures_.get(), &MeasureSession::Told, this, &MainWindow::Tell);
  connect(measures_.get(), &MeasureSession::Changed, view_, [this] {
    menus_->Refresh();
    view_->update();
  });
  view_->AddOverlay([this](QPainter& painter) { MeasureLabels(*measures_, *view_).Paint(painter); });
  view_->SetClickFilter(
      [this](const QPointF& point, Qt::KeyboardModifiers) { return TakeMeasureClick(point); });
  view_->SetHoverListener([this](const QPointF& point) { ShowSnap(point); });
  connect(measures_.get(), &MeasureSession::HintChanged, view_, [this] { view_->update(); });
  ConnectComparison();
  connect(view_, &ModelView::Broken, this, [this](const QString& reason) { Tell({reason}); });
  connect(view_, &ModelView::MenuWanted, this, &MainWindow::ShowMenu);
  connect(tree_, &TreePanel::MenuWanted, this, &MainWindow::ShowMenu);
  connect(parts_, &PartsPanel::Told, this, &MainWindow::Tell);
  connect(watcher_, &QFileSystemWatcher::fileChanged, this, &MainWindow::TakeFileChange);
  connect(document_.get(), &Document::RootRemoved, this, &MainWindow::SaveState);
  connect(document_.get(), &Document::RootsChanged, this, [this] {
    if (document_->GetRoots().empty()) {
      setWindowTitle("Mirel");
    }
  });
  connect(&document_->GetUndoStack(), &QUndoStack::indexChanged, menus_, [this] { menus_->Refresh(); });
  connect(document_.get(), &Document::HoverChanged, this, &MainWindow::ShowSelection);
  for (const auto signal : {&Document::RootsChanged, &Document::StateChanged, &Document::DisplayChanged,
                            &Document::SelectionChanged}) {
    connect(document_.get(), signal, this, [this] {
      menus_->Refresh();
      ShowSelection();
    });
  }
  const QSettings settings;
  restoreGeometry(settings.value("window/geometry").toByteArray());
  restoreState(settings.value("window/state").toByteArray());
  messagesDock_->hide();
  compareDock_->hide();
  view_->setFocus();
}

MainWindow::~MainWindow() {
  document_->disconnect(this);
  document_->GetUndoStack().disconnect();  // it is emptied when the document goes, after the view
  comparison_->disconnect(this);
  comparison_.reset();
  delete opener_;  // before the document that it opens into
  delete view_;
}

QDockWidget* MainWindow::AddPanel(QWidget* panel, const QString& title, Qt::DockWidgetArea area) {
  auto* const dock = new QDockWidget(title, this);
  dock->setObjectName(title);
  dock->setWidget(panel);
  // Panels behind another tab count as visible otherwise, and do work that nobody sees.
  connect(dock, &QDockWidget::visibilityChanged, panel, &QWidget::setVisible);
  addDockWidget(area, dock);
  return dock;
}

void MainWindow::MakePanels() {
  tree_ = new TreePanel(*document_);
  parts_ = new PartsPanel(*document_);
  cut_ = new CutPanel(*document_);
  messages_ = new MessagesPanel;

  QDockWidget* const tree = AddPanel(tree_, tr("Tree"), Qt::LeftDockWidgetArea);
  QDockWidget* const parts = AddPanel(parts_, tr("Parts"), Qt::LeftDockWidgetArea);
  QDockWidget* const cut = AddPanel(cut_, tr("Cut and explode"), Qt::RightDockWidgetArea);
  QDockWidget* const properties =
      AddPanel(new PropertiesPanel(*document_), tr("Properties"), Qt::RightDockWidgetArea);
  measuresDock_ = AddPanel(new MeasurePanel(*measures_), tr("Measures"), Qt::RightDockWidgetArea);
  compareDock_ = AddPanel(new ComparePanel(*comparison_), tr("Differences"), Qt::BottomDockWidgetArea);
  messagesDock_ = AddPanel(messages_, tr("Messages"), Qt::BottomDockWidgetArea);
  tabifyDockWidget(tree, parts);
  tree->raise();
  for (QTabBar* tabs : findChildren<QTabBar*>()) {
    tabs->setAccessibleName(tr("Panels"));
  }
  cut->hide();
  properties->hide();
  measuresDock_->hide();
  resizeDocks({tree, measuresDock_}, {300, 340}, Qt::Horizontal);
  resizeDocks({compareDock_, messagesDock_}, {250, 120}, Qt::Vertical);
}

void MainWindow::MakeCommands() {
  RegisterViewerCommands(*this);
  RegisterCompareCommands(*comparison_);
  RegisterMeasureCommands(*this, *measures_);
  QToolBar* const toolbar = addToolBar(tr("Tools"));
  toolbar->setObjectName("Tools");
  toolbar->setMovable(false);
  menus_ = new CommandMenus(*this, *toolbar, document_->GetViewer());
  menus_->SetBeforeForeign([this] { document_->WaitForSnapshot(); });
  connect(menus_, &CommandMenus::Done, this, [this](const QString& text, bool isForeign) {
    if (!text.isEmpty()) {
      Tell({text});
    }
    if (isForeign) {
      document_->TakeSceneChanges();
    }
  });
  auto* const recent = new RecentFiles(*menus_->GetMenu("File/Open recent"));
  connect(recent, &RecentFiles::Chosen, this, [this](const QString& path) { Open({path}); });
  QMenu* const panels = menus_->GetMenu("View/Panels");
  for (QDockWidget* dock : findChildren<QDockWidget*>()) {
    panels->addAction(dock->toggleViewAction());
  }
}

void MainWindow::MakeStatusBar() {
  hoverText_ = new QLabel(this);
  hoverText_->setObjectName("Hovered");
  progressText_ = new QLabel(this);
  progress_ = new QProgressBar(this);
  progress_->setFixedWidth(160);
  progress_->setAccessibleName(tr("Progress"));
  cancel_ = new QToolButton(this);
  cancel_->setObjectName("Cancel");
  cancel_->setText(tr("Cancel"));
  for (QWidget* const fleeting : {static_cast<QWidget*>(progress_), static_cast<QWidget*>(cancel_)}) {
    QSizePolicy policy = fleeting->sizePolicy();
    policy.setRetainSizeWhenHidden(true);  // the picture stays as large as it is
    fleeting->setSizePolicy(policy);
  }
  connect(cancel_, &QToolButton::clicked, this, [this] {
    opener_->Cancel();
    if (comparison_->GetStage() != Comparison::Stage::kShown) {
      comparison_->End();
    }
  });
  statusBar()->addWidget(hoverText_, 1);
  statusBar()->addPermanentWidget(progressText_);
  statusBar()->addPermanentWidget(progress_);
  statusBar()->addPermanentWidget(cancel_);
  ShowProgress(QString(), -1);
}

void MainWindow::Open(const QStringList& paths) {
  for (const QString& path : paths) {
    opener_->Open(path);
  }
}

void MainWindow::WaitForModel() {
  if (!opener_->IsBusy()) {
    return;
  }
  QEventLoop events;
  connect(document_.get(), &Document::SnapshotChanged, &events, &QEventLoop::quit);
  connect(opener_, &ModelOpener::Idle, &events, &QEventLoop::quit);
  QTimer::singleShot(kPatience, &events, &QEventLoop::quit);
  events.exec();
}

void MainWindow::Replace(const QStringList& paths) {
  opener_->Cancel();
  document_->Clear();
  Open(paths);
}

void MainWindow::Compare(const QString& older, const QString& newer) {
  compareDock_->show();
  compareDock_->raise();
  comparison_->Start(older, newer);
}

void MainWindow::Reload() {
  if (comparison_->GetStage() != Comparison::Stage::kOff) {
    Compare(QString(comparison_->GetOlder()), QString(comparison_->GetNewer()));
    return;
  }
  QStringList paths;
  for (const std::shared_ptr<SceneNode>& root : document_->GetRoots()) {
    const QString path = document_->GetFile(root.get()).path;
    if (!path.isEmpty()) {
      paths.append(path);
    }
  }
  Replace(paths);
}

void MainWindow::ShowMeasures() {
  measuresDock_->show();
  measuresDock_->raise();
}

void MainWindow::Tell(const QStringList& messages) {
  messages_->Add(messages);
  messagesDock_->show();
}

void MainWindow::ShowProgress(const QString& text, int percent) {
  const bool isBusy = !text.isEmpty();
  progressText_->setText(text);
  progress_->setRange(0, percent < 0 ? 0 : 100);
  progress_->setValue(percent);
  progressText_->setVisible(isBusy);
  progress_->setVisible(isBusy);
  cancel_->setVisible(isBusy);
}

// What goes on when nothing is being opened.
void MainWindow::ShowIdle() {
  ShowProgress(comparison_->GetStage() == Comparison::Stage::kComparing ? tr("Comparing") : QString(), -1);
}

void MainWindow::ConnectComparison() {
  connect(comparison_.get(), &Comparison::Told, this, &MainWindow::Tell);
  connect(comparison_.get(), &Comparison::Changed, this, [this] {
    menus_->Refresh();
    if (!opener_->IsBusy()) {
      ShowIdle();
    }
  });
  connect(comparison_.get(), &Comparison::Shown, this, [this] {
    setWindowTitle(QFileInfo(comparison_->GetOlder()).fileName() + " \u2192 " +
                   QFileInfo(comparison_->GetNewer()).fileName() + " - Mirel");
    view_->LookFrom(Camera::View::kIso);
  });
  connect(comparison_.get(), &Comparison::CurrentChanged, this, [this] {
    const int current = comparison_->GetCurrent();
    if (current != Comparison::kNone) {
      view_->Fit(comparison_->GetBox(current), kAroundDifference);
    }
    view_->update();
  });
  view_->AddOverlay([this](QPainter& painter) { DifferenceMarks(*comparison_, *view_).Paint(painter); });
}

// That of two versions beside each other is nobody's own.
void MainWindow::SaveState() {
  if (comparison_->GetStage() == Comparison::Stage::kOff) {
    SavedState::Save(*document_, *view_);
  }
}

void MainWindow::ShowSelection() {
  const SceneNode* const node =
      document_->GetHovered() != nullptr ? document_->GetHovered() : document_->GetCurrent();
  QStringList titles;
  for (const SceneNode* above : node != nullptr ? node->GetPath() : std::vector<const SceneNode*>()) {
    titles.append(SceneTreeModel::GetTitle(*above));
  }
  const std::size_t count = document_->GetSelection().size();
  hoverText_->setText(titles.join(" / ") + (count > 1 ? tr("  (%1 selected)").arg(count) : QString()));
}

void MainWindow::ShowMenu(const QPoint& globalPoint) {
  QMenu menu;
  for (const char* name :
       {"FitSelection", "Hide", "Isolate", "Ghost", "GhostOthers", "ShowAll", "SelectEqual"}) {
    menu.addAction(menus_->FindAction(name));
  }
  menu.exec(globalPoint);
}

void MainWindow::TakeOpened(const QString& path, const SceneNode* root) {
  RecentFiles::Add(path);
  const ModelFile file = document_->GetFile(root);
  if (comparison_->GetStage() == Comparison::Stage::kOff) {
    setWindowTitle(QString::fromStdString(root->GetName()) + " - Mirel");
    SavedState::Restore(file.path, *document_, *view_);
  }
  const QString watched = QFileInfo(file.path).isDir() ? file.path + "/index.gz" : file.path;
  watcher_->addPath(watched);
}

// Whether the click was meant for measuring.
bool MainWindow::TakeMeasureClick(const QPointF& point) {
  if (measures_->GetTool() == MeasureSession::Tool::kNone) {
    return false;
  }
  if (document_->GetState().explosion > 0.0) {
    Tell({tr("parts that are moved apart cannot be measured; put them together first")});
    return true;
  }
  measures_->Take(view_->Pick(point, kSnapTolerance), point, view_->GetCamera(),
                  {view_->width(), view_->height()});
  return true;
}

// Marks what a click would snap to.
void MainWindow::ShowSnap(const QPointF& point) {
  if (measures_->GetTool() != MeasureSession::Tool::kNone && document_->GetState().explosion == 0.0) {
    measures_->PointAt(view_->Pick(point, kSnapTolerance), point, view_->GetCamera(),
                       {view_->width(), view_->height()});
  }
}

void MainWindow::TakeFileChange(const QString& path) {
  Tell({tr("%1 has changed since it was opened; what is shown is as it was then. File, Reload shows it as it "
           "is now.")
            .arg(path)});
  watcher_->removePath(path);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  opener_->Cancel();
  SaveState();
  QSettings settings;
  settings.setValue("window/geometry", saveGeometry());
  settings.setValue("window/state", saveState());
  QMainWindow::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) {
    event->acceptProposedAction();
  }
}

void MainWindow::dropEvent(QDropEvent* event) {
  QStringList paths;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) {
      paths.append(url.toLocalFile());
    } else {
      Tell({url.toString() + ": " + tr("is not a file of this computer")});
    }
  }
  event->acceptProposedAction();
  Open(paths);
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    view_->update();
  }
}

}  // namespace mirel

#include <Programs/mirel-viewer/Application/Benchmark.h>

#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>
#include <Programs/mirel-viewer/Tree/SceneSearch.h>
#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>
#include <Programs/mirel-viewer/Tree/TreePanel.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QMouseEvent>
#include <QOpenGLWidget>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <unistd.h>
#include <utility>

namespace mirel {

namespace {

constexpr int kTurns = 30, kLeastTurns = 5;
constexpr double kEnough = 3000.0;  // ms of frames
constexpr double kTurn = 0.05;
constexpr int kLongestFrame = 10000;  // ms; a window that is not shown has none
constexpr int kPlaces = 12;           // along each side of the picture

// Since the process began, as the system counts it, to a hundredth of a second.
double GetMilliseconds() {
  QFile status("/proc/self/stat");
  status.open(QIODevice::ReadOnly);
  const QByteArray text = status.readAll();
  const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
  const double begun = fields.value(19).toDouble() * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
  timespec now = {};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6 - begun;
}

double GetProcessorMilliseconds(clockid_t clock) {
  timespec now = {};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

// Of this thread.
double MeasureProcessor(const std::function<void()>& action) {
  const double begun = GetProcessorMilliseconds(CLOCK_THREAD_CPUTIME_ID);
  action();
  return GetProcessorMilliseconds(CLOCK_THREAD_CPUTIME_ID) - begun;
}

double GetMean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) /
         static_cast<double>(std::max<std::size_t>(1, values.size()));
}

double GetWorst(const std::vector<double>& values) {
  return values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
}

void Print(const char* name, const std::vector<double>& values, const char* more = "") {
  std::printf("%-8s %8.2f ms, worst %.2f ms%s\n", name, GetMean(values), GetWorst(values), more);
  std::fflush(stdout);
}

bool IsEnough(const std::vector<double>& frames) {
  return frames.size() >= kTurns ||
         (frames.size() >= kLeastTurns && std::accumulate(frames.begin(), frames.end(), 0.0) > kEnough);
}

// Until the frame is in the window: Qt may put off what repaint() asks for, and returns at once.
double TurnOnce(ModelView& view) {
  QEventLoop shown;
  QObject::connect(&view, &QOpenGLWidget::frameSwapped, &shown, &QEventLoop::quit);
  QTimer::singleShot(kLongestFrame, &shown, &QEventLoop::quit);
  QElapsedTimer timer;
  timer.start();
  Camera camera = view.GetCamera();
  camera.Orbit(kTurn, 0.0);
  view.SetCamera(camera);
  view.update();
  shown.exec();
  return static_cast<double>(timer.nsecsElapsed()) * 1e-6;
}

void SendMouse(ModelView& view, QEvent::Type type, const QPointF& point, Qt::MouseButtons buttons) {
  const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
  QMouseEvent event(type, point, view.mapToGlobal(point), button, buttons, Qt::NoModifier);
  QCoreApplication::sendEvent(&view, &event);
}

const SceneNode* FindWidest(const std::vector<std::shared_ptr<SceneNode>>& roots) {
  const SceneNode* widest = roots.front().get();
  std::vector<const SceneNode*> waiting = {widest};
  while (!waiting.empty()) {
    const SceneNode* const node = waiting.back();
    waiting.pop_back();
    widest = node->GetNodes().size() > widest->GetNodes().size() ? node : widest;
    for (const std::shared_ptr<SceneNode>& child : node->GetNodes()) {
      waiting.push_back(child.get());
    }
  }
  return widest;
}

}  // namespace

Benchmark::Benchmark(MainWindow& window, QStringList paths) : window_(window), paths_(std::move(paths)) {
  PrintStage("window");
  connect(&window.GetOpener(), &ModelOpener::Opened, this, [this] {
    if (!hasPicture_) {
      PrintStage("nodes");
    }
  });
  connect(&window.GetOpener(), &ModelOpener::Failed, this, [] { QApplication::exit(2); });
  connect(&window.GetOpener(), &ModelOpener::Idle, this, [this] {
    if (!std::exchange(hasBodies_, true)) {
      PrintStage("bodies");
      Begin();
    }
  });
  connect(&window.GetView(), &ModelView::Completed, this, [this] {
    if (!std::exchange(hasPicture_, true)) {
      PrintStage("picture");
      Begin();
    }
  });
}

void Benchmark::PrintStage(const char* stage) const {
  std::printf("%-8s %8.0f ms, of processors %.0f ms\n", stage, GetMilliseconds(),
              GetProcessorMilliseconds(CLOCK_PROCESS_CPUTIME_ID));
  std::fflush(stdout);
}

void Benchmark::Begin() {
  if (hasPicture_ && hasBodies_) {
    GoOn(&Benchmark::Turn);
  }
}

void Benchmark::GoOn(Step next) {
  window_.GetDocument().WaitForSnapshot();
  QTimer::singleShot(0, this, [this, next] { (this->*next)(); });
}

void Benchmark::Turn() {
  std::vector<double> frames;
  while (!IsEnough(frames)) {
    frames.push_back(TurnOnce(window_.GetView()));
  }
  Print("frame", frames);
  GoOn(&Benchmark::PointAndClick);
}

void Benchmark::PointAndClick() {
  ModelView& view = window_.GetView();
  std::vector<double> hovers, clicks, snaps;
  for (int i = 0; i < kPlaces * kPlaces; ++i) {
    const QPointF point(view.width() * (0.2 + 0.6 * (i % kPlaces) / kPlaces),
                        view.height() *
                            (0.2 + 0.6 * (i / kPlaces) / kPlaces));  // NOLINT(bugprone-integer-division)
    hovers.push_back(MeasureProcessor([&] { SendMouse(view, QEvent::MouseMove, point, Qt::NoButton); }));
    SendMouse(view, QEvent::MouseButtonPress, point, Qt::LeftButton);
    clicks.push_back(
        MeasureProcessor([&] { SendMouse(view, QEvent::MouseButtonRelease, point, Qt::NoButton); }));
    snaps.push_back(MeasureProcessor([&] { view.Pick(point, MainWindow::kSnapTolerance); }));
  }
  Print("hover", hovers);
  Print("click", clicks);
  Print("snap", snaps);
  window_.GetDocument().Select({});
  GoOn(&Benchmark::FillTree);
}

void Benchmark::FillTree() {
  Document& document = window_.GetDocument();
  const double filled = MeasureProcessor([&] { document.TakeSceneChanges(); });
  auto* const tree = window_.GetTree().findChild<QTreeView*>("Tree");
  auto* const model = static_cast<SceneTreeModel*>(tree->model());
  const SceneNode* const widest = FindWidest(document.GetRoots());
  const QModelIndex index = model->FindIndex(widest);
  tree->collapse(index);
  const double expanded = MeasureProcessor([&] {
    tree->expand(index);
    tree->repaint();
  });
  std::printf("tree     %8.2f ms, %zu children %.2f ms\n", filled, widest->GetNodes().size(), expanded);
  GoOn(&Benchmark::Search);
}

void Benchmark::Search() {
  const SceneNode* node = window_.GetDocument().GetRoots().front().get();
  while (!node->GetNodes().empty()) {
    node = node->GetNodes().back().get();
  }
  const QString text = SceneTreeModel::GetTitle(*node).right(6);
  auto* const search = new SceneSearch(window_.GetDocument());
  search->setParent(this);
  QElapsedTimer timer;
  timer.start();
  connect(search, &SceneSearch::Found, this, [this, timer](const SceneSearch::Result& result) {
    std::printf("search   %8.2f ms, %zu found\n", static_cast<double>(timer.nsecsElapsed()) * 1e-6,
                result.count);
    GoOn(&Benchmark::OpenAgain);
  });
  search->Start(text);
}

void Benchmark::OpenAgain() {
  window_.Open(paths_);
  TurnWhileOpening();
}

void Benchmark::TurnWhileOpening() {
  frames_.push_back(TurnOnce(window_.GetView()));
  if (window_.GetOpener().IsBusy() || !window_.GetView().IsComplete()) {
    QTimer::singleShot(0, this, &Benchmark::TurnWhileOpening);
    return;
  }
  std::vector<double> after;
  while (!IsEnough(after)) {
    after.push_back(TurnOnce(window_.GetView()));
  }
  Print("opening", frames_);
  Print("after", after);
  QApplication::exit(0);
}

}  // namespace mirel

#include <Programs/mirel-viewer/Application/Benchmark.h>

#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace mirel {

namespace {

constexpr int kTurns = 30;
constexpr double kTurn = 0.05;

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

}  // namespace

Benchmark::Benchmark(MainWindow& window) : window_(window) {
  Print("window");
  connect(&window.GetOpener(), &ModelOpener::Opened, this, [this] { Print("nodes"); });
  connect(&window.GetOpener(), &ModelOpener::Idle, this, [this] { Print("bodies"); });
  connect(&window.GetOpener(), &ModelOpener::Failed, this, [] { QApplication::exit(2); });
  connect(&window.GetView(), &ModelView::Completed, this, [this] {
    Print("picture");
    Turn();
  });
}

void Benchmark::Print(const char* stage) const {
  std::printf("%-8s %8.0f ms\n", stage, GetMilliseconds());
  std::fflush(stdout);
}

void Benchmark::Turn() {
  ModelView& view = window_.GetView();
  double worst = 0.0, sum = 0.0;
  for (int i = 0; i < kTurns; ++i) {
    Camera camera = view.GetCamera();
    camera.Orbit(kTurn, 0.0);
    view.SetCamera(camera);
    view.repaint();
    worst = std::max(worst, view.GetFrameTime());
    sum += view.GetFrameTime();
  }
  std::printf("frame    %8.2f ms, worst %.2f ms\n", sum / kTurns, worst);
  QApplication::exit(0);
}

}  // namespace mirel

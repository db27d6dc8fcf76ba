#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Opening/ModelOpener.h>
#include <Programs/mirel-viewer/Panels/MessagesPanel.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdlib>

namespace mirel {

namespace {

constexpr int kPatience = 60000;  // ms

}  // namespace

QString ViewerWindow::GetScratch() {
  static const QTemporaryDir folder;
  return folder.path();
}

QString ViewerWindow::GetSampleFolder() {
  const QString folder = GetScratch() + "/trolley";
  if (!QFile::exists(folder)) {
    QProcess::execute(MIREL_PROGRAM, {"-q", "save", MIREL_SAMPLE, folder});
  }
  return folder;
}

ViewerWindow::ViewerWindow() {
  for (const char* name : {"config", "cache", "data"}) {
    const QString folder = GetScratch() + "/" + name;
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    qputenv(("XDG_" + QString(name).toUpper() + "_HOME").toLatin1(), folder.toUtf8());
  }
  qunsetenv("XDG_CONFIG_DIRS");
  QString reason;
  if (!DesktopHost::LoadModule(DesktopHost::FindModule(), reason)) {
    qFatal("the module cannot be loaded: %s", qPrintable(reason));
  }
  Reopen();
}

ViewerWindow::~ViewerWindow() = default;

void ViewerWindow::Reopen() {
  if (window_) {
    window_->close();
    GetDocument().Clear();
    window_.reset();
  }
  window_ = std::make_unique<MainWindow>(host_);
  window_->show();
  window_->activateWindow();
  if (!QTest::qWaitForWindowActive(window_.get(), kPatience)) {
    qFatal("the window is not shown");
  }
}

bool ViewerWindow::Settle() {
  const auto isSettled = [this] {
    const Snapshot& snapshot = GetDocument().GetSnapshot();
    const bool isDrawn =
        GetDocument().GetRoots().empty() || (snapshot.scene && snapshot.caster && GetView().IsComplete());
    return !window_->GetOpener().IsBusy() && isDrawn;
  };
  if (!QTest::qWaitFor([this] { return !window_->GetOpener().IsBusy(); }, kPatience)) {
    return false;
  }
  GetDocument().WaitForSnapshot();  // of what has been opened; it is taken with the next events
  QCoreApplication::processEvents();
  return QTest::qWaitFor(isSettled, kPatience);
}

bool ViewerWindow::OpenSample() {
  window_->Open({GetSampleFolder()});
  return Settle();
}

QImage ViewerWindow::Grab() {
  Settle();
  QImage image = GetView().grabFramebuffer();
  for (int frame = 0; !GetView().IsRefined() && frame < 60; ++frame) {
    image = GetView().grabFramebuffer();
  }
  return image.convertToFormat(QImage::Format_RGB32);
}

void ViewerWindow::SaveForGuide(const QString& name) {
  const QString folder = qEnvironmentVariable("MIREL_VIEWER_PICTURES");
  if (!folder.isEmpty()) {
    Grab();
    QTest::qWait(200);  // panels are painted later than the picture
    QDir().mkpath(folder);
    window_->screen()->grabWindow(window_->winId()).save(folder + "/" + name + ".png");
  }
}

const SceneNode* ViewerWindow::FindNode(const std::string& name) {
  std::vector<const SceneNode*> waiting;
  for (const std::shared_ptr<SceneNode>& root : GetDocument().GetRoots()) {
    waiting.push_back(root.get());
  }
  for (std::size_t i = 0; i < waiting.size(); ++i) {
    if (waiting[i]->GetName() == name) {
      return waiting[i];
    }
    for (const std::shared_ptr<SceneNode>& child : waiting[i]->GetNodes()) {
      waiting.push_back(child.get());
    }
  }
  return nullptr;
}

QPointF ViewerWindow::FindPoint(const SceneNode* node) {
  Settle();
  for (int y = 5; y < GetView().height(); y += 14) {
    for (int x = 5; x < GetView().width(); x += 14) {
      const SceneNode* const seen = GetView().FindNode(QPointF(x, y));
      if (seen == nullptr) {
        continue;
      }
      const std::vector<const SceneNode*> path = seen->GetPath();
      if (std::find(path.begin(), path.end(), node) != path.end()) {
        return QPointF(x, y);
      }
    }
  }
  return QPointF(-1, -1);
}

QString ViewerWindow::GetMessages() {
  QStringList lines;
  const auto* const panel = window_->findChild<MessagesPanel*>();
  for (int row = 0; row < panel->count(); ++row) {
    lines.append(panel->item(row)->text());
  }
  return lines.join('\n');
}

QString ViewerWindow::MakeScript(const QString& name, const QByteArray& text) {
  const QString path = GetScratch() + "/" + name;
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) {
    qFatal("no script can be written");
  }
  file.write("#!/bin/sh\n" + text);
  file.close();
  file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  return path;
}

// The dialog takes the path once it has listed the folder, so this is tried until it is gone.
void ViewerWindow::AnswerDialog(const QString& path) {
  auto* const timer = new QTimer(qApp);
  const auto answered = std::make_shared<QPointer<QFileDialog>>();
  const auto begun = std::make_shared<bool>(false);
  QObject::connect(timer, &QTimer::timeout, timer, [=] {
    auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (*begun && dialog != answered->data()) {
      timer->deleteLater();
      return;
    }
    if (dialog == nullptr || !dialog->isVisible()) {
      return;
    }
    *answered = dialog;
    *begun = true;
    auto* const name = dialog->findChild<QLineEdit*>("fileNameEdit");
    if (name->text() != path) {
      name->setText(path);
    }
    QTest::keyClick(name, Qt::Key_Return);
  });
  timer->start(200);
}

double CompareImages(const QImage& a, const QImage& b, int tolerance) {
  if (a.size() != b.size() || a.isNull()) {
    return 1.0;
  }
  std::size_t differing = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
      const int off = std::max(
          {std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))});
      differing += off > tolerance ? 1 : 0;
    }
  }
  return static_cast<double>(differing) / (static_cast<double>(a.width()) * a.height());
}

}  // namespace mirel

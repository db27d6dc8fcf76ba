#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Picture/PictureDialog.h>

#include <Viewer/Draw/PictureRenderer.h>

#include <glm/glm.hpp>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QLabel>
#include <QOpenGLContext>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

#include <sys/resource.h>

#include <csignal>

namespace mirel {

namespace {

// As the mouse does it, in a few steps.
void Drag(QWidget& widget, Qt::MouseButton button, Qt::KeyboardModifiers modifiers, const QPoint& from,
          const QPoint& to) {
  QTest::mousePress(&widget, button, modifiers, from);
  for (int i = 1; i <= 5; ++i) {
    const QPointF point = from + QPointF(to - from) * i / 5;
    QMouseEvent move(QEvent::MouseMove, point, widget.mapToGlobal(point), Qt::NoButton, button, modifiers);
    QCoreApplication::sendEvent(&widget, &move);
  }
  QTest::mouseRelease(&widget, button, modifiers, to);
}

double Distance(const QPointF& a, const QPointF& b) {
  return QLineF(a, b).length();
}

// Part of the pixels that differ from what rays draw of the same view.
double CompareWithRays(ViewerWindow& viewer, const std::vector<SectionPlane>& sections = {}) {
  const QImage seen = viewer.Grab();
  PictureOptions options;
  options.width = seen.width();
  options.height = seen.height();
  options.ambientOcclusion = false;
  options.sections = sections;
  const Picture picture =
      PictureRenderer(viewer.GetDocument().GetSnapshot().caster).Draw(viewer.GetView().GetCamera(), options);
  const QImage drawn(picture.pixels.data(), picture.width, picture.height, QImage::Format_RGBA8888);
  const double differing = CompareImages(seen, drawn.convertToFormat(QImage::Format_RGB32), 40);
  qInfo("pixels that differ: %.2f %%", differing * 100);
  return differing;
}

}  // namespace

class ViewTest : public QObject {
  Q_OBJECT

 private slots:
  void MovesAsTheMouseSays();
  void LooksFromSidesAndFits();
  void DrawsWhatPicturesShow();
  void SavesPictures();
  void OutlivesItsContext();
};

void ViewTest::MovesAsTheMouseSays() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  const QPoint grip = viewer.FindPoint(viewer.FindNode("ballast")).toPoint();
  const glm::dvec3 held = view.Pick(grip).point;
  const glm::dvec3 forward = view.GetCamera().GetForward();
  Drag(view, Qt::MiddleButton, Qt::NoModifier, grip, grip + QPoint(60, -40));
  QVERIFY(Distance(*view.Project(held), grip) < 1.0);  // turned about what is under the mouse
  QVERIFY(glm::distance(view.GetCamera().GetForward(), forward) > 0.3);

  const glm::dvec3 turned = view.GetCamera().GetForward();
  Drag(view, Qt::RightButton, Qt::NoModifier, grip, grip + QPoint(50, 30));
  QVERIFY(Distance(*view.Project(held), grip + QPoint(50, 30)) < 1.5);  // and moved with it
  QVERIFY(glm::distance(view.GetCamera().GetForward(), turned) < 1e-9);

  const QPointF at = *view.Project(held);
  const double height = view.GetCamera().GetHeight();
  QWheelEvent wheel(at, view.mapToGlobal(at), QPoint(), QPoint(0, 240), Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&view, &wheel);
  QVERIFY(Distance(*view.Project(held), at) < 1.0);
  QVERIFY(view.GetCamera().GetHeight() < 0.8 * height);

  view.setFocus();
  QTest::keyClick(&view, Qt::Key_Right);
  QVERIFY(glm::distance(view.GetCamera().GetForward(), turned) > 0.1);
  QTest::keyClick(&view, Qt::Key_Minus);
  QTest::keyClick(&view, Qt::Key_F);
  QVERIFY(viewer.FindPoint(viewer.FindNode("push handle")).x() > 0);

  // The other scheme turns with the left button; here a drag would have selected.
  viewer.Get().GetMenus().FindAction("MouseTrackpad")->trigger();
  QVERIFY(viewer.Get().GetMenus().FindAction("MouseTrackpad")->isChecked());
  const glm::dvec3 seen = view.GetCamera().GetForward();
  Drag(view, Qt::LeftButton, Qt::NoModifier, QPoint(200, 200), QPoint(260, 200));
  QVERIFY(glm::distance(view.GetCamera().GetForward(), seen) > 0.3);
  QVERIFY(viewer.GetDocument().GetSelection().empty());
  Drag(view, Qt::LeftButton, Qt::ControlModifier, QPoint(2, 2), QPoint(view.width() - 2, view.height() - 2));
  QCOMPARE(viewer.GetDocument().GetSelection().size(), std::size_t(22));
}

void ViewTest::LooksFromSidesAndFits() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  QTest::keyClick(&view, Qt::Key_1);
  QVERIFY(glm::distance(view.GetCamera().GetForward(), glm::dvec3(0, 1, 0)) < 1e-9);
  QTest::keyClick(&view, Qt::Key_0);
  // The cube: its upper face, as it stands in the iso view.
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(view.width() - 56, 36));
  QVERIFY(glm::distance(view.GetCamera().GetForward(), glm::dvec3(0, 0, -1)) < 1e-9);
  QTest::keyClick(&view, Qt::Key_P);
  QCOMPARE(view.GetCamera().GetProjection(), Camera::Projection::kParallel);
  const double all = view.GetCamera().GetHeight();
  viewer.GetDocument().Select({viewer.FindNode("ballast")});
  QTest::keyClick(&view, Qt::Key_F, Qt::ShiftModifier);
  QVERIFY(view.GetCamera().GetHeight() < 0.5 * all);
}

void ViewTest::DrawsWhatPicturesShow() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  QVERIFY(CompareWithRays(viewer) < 0.05);  // lines, the cube, the outline of the section
  const SectionPlane plane{{1.0, 0.0, 0.0}, 10.0};
  viewer.GetDocument().ChangeState("section", [&](ViewState& state) { state.sections = {plane}; });
  QVERIFY(CompareWithRays(viewer, {plane}) < 0.05);

  // The dialog draws the same, at the size that is asked for.
  PictureDialog dialog(viewer.GetDocument(), view, &viewer.Get());
  dialog.findChild<QSpinBox*>("Width")->setValue(320);
  dialog.findChild<QSpinBox*>("Height")->setValue(200);
  dialog.CopyNow();
  QCOMPARE(QApplication::clipboard()->image().size(), QSize(320, 200));
}

void ViewTest::SavesPictures() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  PictureDialog dialog(viewer.GetDocument(), viewer.GetView(), &viewer.Get());
  dialog.findChild<QSpinBox*>("Width")->setValue(320);
  dialog.findChild<QSpinBox*>("Height")->setValue(200);
  const auto save = [&dialog](const QString& path) {
    dialog.show();
    ViewerWindow::AnswerDialog(path);
    QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save), Qt::LeftButton);
    return dialog.isVisible() ? dialog.findChild<QLabel*>("Error")->text() : QString();
  };
  const QString path = ViewerWindow::GetScratch() + "/seen.png";
  QCOMPARE(save(path), QString());
  QCOMPARE(QImage(path).size(), QSize(320, 200));
  // Where nothing can be written, and where nothing more fits in, the dialog says so and stays.
  const QString nowhere = save("/proc/seen.png");
  QVERIFY2(nowhere.startsWith("/proc/seen.png: "), qPrintable(nowhere));
  const QString full = ViewerWindow::GetScratch() + "/full.png";
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {100, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  const QString said = save(full);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  QVERIFY2(said.startsWith(full + ": "), qPrintable(said));
  QVERIFY(!QFile::exists(full));
}

// OpenGL's context goes when a view moves to another window; all is sent anew to the next one.
void ViewTest::OutlivesItsContext() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.Grab();
  ModelView& view = viewer.GetView();
  const QPointer<QOpenGLContext> context = view.context();
  QWidget* const place = viewer.Get().takeCentralWidget();
  place->setParent(nullptr);
  place->show();
  QVERIFY(QTest::qWaitForWindowExposed(place));
  viewer.Grab();
  viewer.Get().setCentralWidget(place);
  QVERIFY(viewer.Settle());
  QVERIFY(context.isNull() || view.context() != context);
  QVERIFY(CompareWithRays(viewer) < 0.05);
  QCOMPARE(viewer.GetMessages(), QString());
}

static const bool g_added = ViewerTests::Add<ViewTest>("View");

}  // namespace mirel

#include "ViewTest.moc"

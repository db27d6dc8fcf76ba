#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Panels/CutPanel.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QAction>
#include <QCheckBox>
#include <QDockWidget>
#include <QSlider>
#include <QTest>
#include <QUndoStack>

namespace mirel {

class ShowTest : public QObject {
  Q_OBJECT

 private slots:
  void HidesIsolatesAndGhosts();
  void ColorsAndEdges();
  void CutsWithPanelAndMouse();
  void TakesApart();
  void RemembersHowAModelWasSeen();
};

void ShowTest::HidesIsolatesAndGhosts() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  const auto countDrawn = [&] {
    viewer.Settle();
    return viewer.GetDocument().GetSnapshot().scene->GetPlacementCount();
  };
  const SceneNode* const ballast = viewer.FindNode("ballast");
  const QPoint point = viewer.FindPoint(ballast).toPoint();
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, point);
  QTest::keyClick(&view, Qt::Key_H);
  QCOMPARE(countDrawn(), 21u);
  QVERIFY(viewer.FindPoint(ballast).x() < 0);
  QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
  QCOMPARE(countDrawn(), 22u);
  QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  QCOMPARE(countDrawn(), 21u);
  QTest::keyClick(&view, Qt::Key_A);
  QCOMPARE(countDrawn(), 22u);

  viewer.GetDocument().Select({viewer.FindNode("drawer top"), viewer.FindNode("push handle")});
  QTest::keyClick(&view, Qt::Key_I);
  QCOMPARE(countDrawn(), 2u);
  viewer.SaveForGuide("isolated");
  QTest::keyClick(&view, Qt::Key_A);
  QTest::keyClick(&view, Qt::Key_G, Qt::ShiftModifier);
  QCOMPARE(countDrawn(), 22u);
  QCOMPARE(view.FindNode(point), nullptr);  // ghosts are not picked
  QVERIFY(viewer.FindPoint(viewer.FindNode("push handle")).x() > 0);
  viewer.SaveForGuide("ghosts");
}

void ShowTest::ColorsAndEdges() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.Get().Open({ViewerWindow::GetSampleFolder()});
  QVERIFY(viewer.Settle());
  QImage before = viewer.Grab();
  for (const char* name :
       {"ColorByPart", "ColorByFile", "ColorUniform", "EdgesNone", "EdgesAll", "ColorOwn"}) {
    QAction* const action = viewer.Get().GetMenus().FindAction(name);
    action->trigger();
    QVERIFY(action->isChecked());
    QTest::qWait(50);
    const QImage after = viewer.Grab();
    QVERIFY2(CompareImages(before, after, 20) > 0.002, name);
    before = after;
  }
}

void ShowTest::CutsWithPanelAndMouse() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  Document& document = viewer.GetDocument();
  viewer.Get().findChild<QDockWidget*>("Cut and explode")->show();
  QVERIFY(viewer.Settle());
  const QImage whole = viewer.Grab();
  QTest::mouseClick(viewer.Get().findChild<QCheckBox*>("SectionOn1"), Qt::LeftButton);
  QCOMPARE(document.GetState().sections.size(), std::size_t(1));
  QVERIFY(CompareImages(whole, viewer.Grab(), 40) > 0.05);
  const double middle = document.GetState().sections[0].offset;
  viewer.Get().findChild<QSlider*>("SectionPlace1")->setValue(300);
  const double offset = document.GetState().sections[0].offset;
  QVERIFY(offset < middle);
  QTest::mouseClick(viewer.Get().findChild<QCheckBox*>("SectionOn3"), Qt::LeftButton);
  QCOMPARE(document.GetState().sections.size(), std::size_t(2));
  viewer.SaveForGuide("cut");

  // The arrow of the first plane follows the mouse along its normal, and one undo takes the whole drag back.
  ModelView& view = viewer.GetView();
  QPoint knob(-1, -1);
  for (int y = 0; y < view.height() && knob.x() < 0; y += 12) {
    for (int x = 0; x < view.width() && knob.x() < 0; x += 12) {
      QMouseEvent hover(QEvent::MouseMove, QPointF(x, y), view.mapToGlobal(QPointF(x, y)), Qt::NoButton,
                        Qt::NoButton, Qt::NoModifier);
      QCoreApplication::sendEvent(&view, &hover);
      knob = view.cursor().shape() == Qt::SizeAllCursor ? QPoint(x, y) : knob;
    }
  }
  QVERIFY(knob.x() >= 0);
  const std::vector<SectionPlane> before = document.GetState().sections;
  QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, knob);
  for (int i = 1; i <= 4; ++i) {
    const QPointF to = knob + QPointF(-8.0 * i, 4.0 * i);
    QMouseEvent move(QEvent::MouseMove, to, view.mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &move);
  }
  QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, knob + QPoint(-32, 16));
  const auto differ = [&] {
    const std::vector<SectionPlane>& now = document.GetState().sections;
    return std::abs(now[0].offset - before[0].offset) + std::abs(now[1].offset - before[1].offset);
  };
  QVERIFY(differ() > 1.0);
  QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
  QVERIFY(differ() < 1e-9);
}

void ShowTest::TakesApart() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  const QPointF before = viewer.FindPoint(viewer.FindNode("push handle"));
  viewer.Get().findChild<QSlider*>("Explosion")->setValue(1000);
  QCOMPARE(viewer.GetDocument().GetState().explosion, 1.0);
  view.FitAll();
  const QImage apart = viewer.Grab();
  const QPointF behind = viewer.FindPoint(viewer.FindNode("push handle"));
  QVERIFY(behind.x() > 0 && QLineF(before, behind).length() > 10);  // picked where it is seen
  viewer.SaveForGuide("exploded");
  QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
  QCOMPARE(viewer.GetDocument().GetState().explosion, 0.0);
  QVERIFY(CompareImages(apart, viewer.Grab(), 40) > 0.05);
}

void ShowTest::RemembersHowAModelWasSeen() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.GetView().LookFrom(Camera::View::kRight);
  viewer.GetDocument().Hide({viewer.FindNode("drawer top")});
  const glm::dvec3 eye = viewer.GetView().GetCamera().GetEye();
  viewer.Reopen();
  QVERIFY(viewer.OpenSample());
  QVERIFY(glm::distance(viewer.GetView().GetCamera().GetEye(), eye) < 1e-6);
  QCOMPARE(viewer.GetDocument().GetState().hidden, Document::Nodes({viewer.FindNode("drawer top")}));
  QVERIFY(!viewer.GetDocument().GetUndoStack().canUndo());
}

static const bool g_added = ViewerTests::Add<ShowTest>("Show");

}  // namespace mirel

#include "ShowTest.moc"

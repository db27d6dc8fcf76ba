#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Commands/CommandMenus.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Measure/MeasureUnit.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

namespace mirel {

class MeasuringTest : public QObject {
  Q_OBJECT

 private slots:
  void MeasuresWhatIsClicked();
  void TellsPropertiesAndChecksTheFile();
};

namespace {

// What stands behind a name in a list of two columns, at any depth; the last of several.
QString FindValue(const QTreeWidget& list, const QString& name) {
  const QList<QTreeWidgetItem*> found = list.findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
  return found.isEmpty() ? QString() : found.back()->text(1);
}

// The corners of a plane face that is seen from above: on the right upwards, and on the right downwards.
std::pair<glm::dvec3, glm::dvec3> FindCorners(ViewerWindow& viewer, const PickResult& pick) {
  const DrawScene& scene = *viewer.GetDocument().GetSnapshot().scene;
  const GRepMesh& mesh = scene.GetBatch(pick.hit.placement).grep->GetMesh();
  const GRepFace& face = mesh.faces[pick.hit.face];
  AABoxT<double> box;
  for (std::uint32_t i = 0; i < face.vertexCount; ++i)
    box.Extend(scene.GetPlacement(pick.hit.placement) *
               glm::dvec4(mesh.GetPosition(face.firstVertex + i), 1.0));
  return {box.GetMax(), {box.GetMax().x, box.GetMin().y, box.GetMax().z}};
}

}  // namespace

void MeasuringTest::MeasuresWhatIsClicked() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  ModelView& view = viewer.GetView();
  const SceneNode* const ballast = viewer.FindNode("ballast");
  QTest::keyClick(&view, Qt::Key_M);
  QVERIFY(viewer.Get().GetMenus().FindAction("MeasureSize")->isChecked());
  QVERIFY(viewer.Settle());
  const auto& list = *viewer.Get().findChild<QTreeWidget*>("Measures");
  QVERIFY(list.isVisible());

  // In the middle of its upper side nothing is near that one could snap to.
  viewer.GetDocument().Select({ballast}, ballast);
  QTest::keyClick(&view, Qt::Key_7);
  QTest::keyClick(&view, Qt::Key_F, Qt::ShiftModifier);
  QVERIFY(viewer.Settle());
  const QPoint top = viewer.FindPoint(ballast).toPoint();
  const auto [corner, other] = FindCorners(viewer, view.Pick(top));
  const QPointF edge = (*view.Project(corner) + *view.Project(other)) / 2.0;
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, edge.toPoint() - QPoint(25, 10));
  QTRY_COMPARE(list.topLevelItemCount(), 1);
  QCOMPARE(list.topLevelItem(0)->text(0), QString("Plane"));
  QVERIFY(FindValue(list, "Area").endsWith(QString(" mm²")));

  // A corner of the box is a vertex, to the last digit; what a click will mean is seen before.
  QTest::mouseMove(&view, edge.toPoint() - QPoint(25, 10));
  const QImage bare = viewer.Grab();
  QTest::mouseMove(&view, view.Project(corner)->toPoint() + QPoint(-3, 3));
  QTRY_VERIFY(CompareImages(bare, viewer.Grab(), 30) > 0.00005);
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, view.Project(corner)->toPoint() + QPoint(-3, 3));
  QTRY_COMPARE(list.topLevelItemCount(), 2);
  QCOMPARE(list.topLevelItem(1)->text(0), QString("Vertex"));
  QCOMPARE(FindValue(list, "Position"),
           QString::fromStdString(MeasureUnit().FormatPlace(corner.x, corner.y, corner.z)));

  // From corner to corner; the unit changes what is there already.
  QTest::keyClick(&view, Qt::Key_D);
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, view.Project(corner)->toPoint() + QPoint(-3, 3));
  QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, view.Project(other)->toPoint() + QPoint(-3, -3));
  QTRY_COMPARE(list.topLevelItemCount(), 3);
  QCOMPARE(FindValue(list, "Distance"),
           QString::fromStdString(MeasureUnit().FormatLength(glm::distance(corner, other))));
  QTest::keyClick(&view, Qt::Key_0);
  viewer.SaveForGuide("measures");
  viewer.Get().findChild<QComboBox*>("MeasureUnit")->setCurrentText("in");
  QCOMPARE(FindValue(list, "Distance"),
           QString::fromStdString(
               MeasureUnit(MeasureUnit::Length::kInch).FormatLength(glm::distance(corner, other))));

  // Mass of what is selected, and all of it as text.
  QTest::keyClick(&view, Qt::Key_M, Qt::ShiftModifier);
  QTRY_COMPARE(list.topLevelItemCount(), 4);
  QVERIFY(FindValue(list, "Mass").isEmpty());
  viewer.Get().findChild<QDoubleSpinBox*>("Density")->setValue(7.85);
  QVERIFY(FindValue(list, "Mass").endsWith("g"));
  QTest::mouseClick(viewer.Get().findChild<QPushButton*>("CopyMeasures"), Qt::LeftButton);
  const QString copied = QApplication::clipboard()->text();
  QVERIFY2(copied.contains("Distance\t") && copied.contains("Mass\t"), qPrintable(copied));

  viewer.Get().GetMenus().FindAction("CloseAll")->trigger();
  QCOMPARE(list.topLevelItemCount(), 0);
}

void MeasuringTest::TellsPropertiesAndChecksTheFile() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.Get().findChild<QDockWidget*>("Properties")->show();
  QVERIFY(viewer.Settle());
  QTest::mouseClick(&viewer.GetView(), Qt::LeftButton, Qt::NoModifier,
                    viewer.FindPoint(viewer.FindNode("push handle")).toPoint());
  const auto& rows = *viewer.Get().findChild<QTreeWidget*>("Properties");
  QCOMPARE(FindValue(rows, "Name"), QString("Griff Größe L"));
  QVERIFY(FindValue(rows, "Path").startsWith(QString("trolley / 工具车 / push handle")));
  QVERIFY(FindValue(rows, "Kinds of faces").contains("tori") ||
          FindValue(rows, "Kinds of faces").contains("planes"));
  viewer.SaveForGuide("properties");
  QTest::mouseClick(viewer.Get().findChild<QPushButton*>("CheckFile"), Qt::LeftButton);
  const auto& findings = *viewer.Get().findChild<QPlainTextEdit*>("Findings");
  QTRY_VERIFY_WITH_TIMEOUT(findings.toPlainText().startsWith("OK"), 20000);
}

static const bool g_added = ViewerTests::Add<MeasuringTest>("Measuring");

}  // namespace mirel

#include "MeasuringTest.moc"

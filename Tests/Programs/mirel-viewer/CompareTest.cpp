#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Compare/Comparison.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepTools.hxx>
#include <TopoDS_Shape.hxx>

#include <glm/glm.hpp>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>

namespace mirel {

namespace {

using Stage = Comparison::Stage;

bool Mirel(const QStringList& arguments) {
  return QProcess::execute(MIREL_PROGRAM, QStringList("-q") + arguments) == 0;
}

// Two versions of the sample, the older one in an archive: a drawer is new, the ballast gone, another drawer 100 mm higher, and
// the handle has another name.
struct Versions {
  QString older = ViewerWindow::GetScratch() + "/older.tar.gz";
  QString newer = ViewerWindow::GetScratch() + QString::fromUtf8("/neuer 车.step");

  Versions() {
    if (QFile::exists(newer)) {
      return;
    }
    const QString scratch = ViewerWindow::GetScratch();
    const QString changed = scratch + "/changed.step";
    QFile sample(MIREL_SAMPLE), file(changed);
    isMade =
        sample.open(QIODevice::ReadOnly) && file.open(QIODevice::WriteOnly) &&
        file.write(sample.readAll().replace("push handle", "Griff").replace("(0.,0.,330.)", "(0.,0.,430.)")) >
            0;
    file.close();
    const QStringList same = {QString::fromUtf8("底盘"), "drawer top", "drawer middle"};
    isMade = isMade && Mirel({"save", changed, scratch + "/changed"}) &&
             Mirel(QStringList{"export", scratch + "/changed", newer, "--only"} + same +
                   QStringList{"drawer bottom", "Griff"}) &&
             Mirel(QStringList{"export", ViewerWindow::GetSampleFolder(), scratch + "/older.step", "--only"} +
                   same + QStringList{"push handle", "ballast"}) &&
             Mirel({"save", scratch + "/older.step", scratch + "/older"}) &&
             QProcess::execute("tar", {"czf", older, "-C", scratch, "older"}) == 0;
  }

  bool isMade = true;
};

// A cylinder with a hole along it.
bool WriteTube(const QString& path, double hole) {
  const TopoDS_Shape tube =
      BRepAlgoAPI_Cut(BRepPrimAPI_MakeCylinder(10.0, 20.0), BRepPrimAPI_MakeCylinder(hole, 20.0)).Shape();
  return BRepTools::Write(tube, path.toUtf8().constData());
}

bool WaitUntilShown(ViewerWindow& viewer) {
  return QTest::qWaitFor([&] { return viewer.Get().GetComparison().GetStage() == Stage::kShown; }, 60000) &&
         viewer.Settle();
}

bool WaitUntilOff(ViewerWindow& viewer) {
  return QTest::qWaitFor([&] { return viewer.Get().GetComparison().GetStage() == Stage::kOff; }, 60000) &&
         viewer.Settle();
}

// What the list says, a line for each row.
QStringList ListRows(ViewerWindow& viewer) {
  const QAbstractItemModel& model = *viewer.Get().findChild<QTreeView*>("Differences")->model();
  QStringList rows;
  for (int row = 0; row < model.rowCount(); ++row) {
    rows.append(model.index(row, 0).data().toString() + " " + model.index(row, 1).data().toString() + " " +
                model.index(row, 2).data().toString());
  }
  return rows;
}

}  // namespace

class CompareTest : public QObject {
  Q_OBJECT

 private slots:
  void ShowsWhatIsDifferent();
  void StepsFromOneToTheNext();
  void TellsOfShapes();
  void SaysWhyNothingIsCompared();
  void TakesTwoVersions();
};

void CompareTest::ShowsWhatIsDifferent() {
  const Versions versions;
  QVERIFY(versions.isMade);
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  // The dialog proposes what is open as the newer version.
  QTimer::singleShot(300, qApp, [&] {
    QWidget* const dialog = QApplication::activeModalWidget();
    QCOMPARE(dialog->findChild<QLineEdit*>("Newer")->text(), ViewerWindow::GetSampleFolder());
    dialog->findChild<QLineEdit*>("Newer")->clear();
    QVERIFY(!dialog->findChild<QPushButton*>("CompareNow")->isEnabled());
    dialog->findChild<QLineEdit*>("Newer")->insert(versions.newer);  // as if pasted
    QTest::keyClicks(dialog->findChild<QLineEdit*>("Older"), versions.older);
    QTest::mouseClick(dialog->findChild<QPushButton*>("CompareNow"), Qt::LeftButton);
  });
  viewer.Get().GetMenus().FindAction("Compare")->trigger();
  QVERIFY(WaitUntilShown(viewer));
  QCOMPARE(viewer.GetMessages(), QString());
  QCOMPARE(ListRows(viewer), QStringList({QString::fromUtf8("added drawer bottom to \"工具车\""),
                                          QString::fromUtf8("removed ballast from \"工具车\""),
                                          QString::fromUtf8("moved drawer top in \"工具车\" by 100 mm"),
                                          QString::fromUtf8("renamed push handle to \"Griff\"")}));
  QVERIFY(viewer.Get()
              .findChild<QLabel*>("DifferenceSummary")
              ->text()
              .endsWith("21 parts before, 21 after, 19 equal"));

  // The picture is that of `mirel diff`.
  const QImage seen = viewer.Grab();
  const QString path = ViewerWindow::GetScratch() + "/differences.png";
  QCOMPARE(
      QProcess::execute(MIREL_PROGRAM, {"-q", "diff", versions.older, versions.newer, "--picture", path,
                                        "--size", QString("%1x%2").arg(seen.width()).arg(seen.height())}),
      1);
  const double differing = CompareImages(seen, QImage(path).convertToFormat(QImage::Format_RGB32), 40);
  qInfo("pixels that differ: %.2f %%", differing * 100);
  QVERIFY(differing < 0.01);
  viewer.SaveForGuide("compare");

  // The rest as the user wants it. What the user hides comes on top, and can be taken back.
  const auto countDrawn = [&] {
    viewer.Settle();
    return viewer.GetDocument().GetSnapshot().scene->GetPlacementCount();
  };
  QCOMPARE(countDrawn(), 22u);
  auto* const rest = viewer.Get().findChild<QComboBox*>("RestOfParts");
  QTest::keyClick(rest, Qt::Key_Down);
  QCOMPARE(countDrawn(), 3u);
  viewer.Get().activateWindow();  // keys of commands work in the active window, which was the dialog
  QVERIFY(QTest::qWaitForWindowActive(&viewer.Get()));
  QTest::keyClick(&viewer.GetView(), Qt::Key_N);
  QTest::keyClick(&viewer.GetView(), Qt::Key_H);
  QCOMPARE(countDrawn(), 2u);
  QTest::keyClick(&viewer.GetView(), Qt::Key_Z, Qt::ControlModifier);
  QCOMPARE(countDrawn(), 3u);
  viewer.Get().GetMenus().FindAction("EndComparison")->trigger();
  QCOMPARE(countDrawn(), 42u);
  QVERIFY(ListRows(viewer).isEmpty());
}

void CompareTest::StepsFromOneToTheNext() {
  const Versions versions;
  ViewerWindow viewer;
  viewer.Get().Compare(versions.older, versions.newer);
  QVERIFY(WaitUntilShown(viewer));
  const Comparison& comparison = viewer.Get().GetComparison();
  auto* const list = viewer.Get().findChild<QTreeView*>("Differences");
  const auto countDrawn = [&] {
    viewer.Settle();
    return viewer.GetDocument().GetSnapshot().scene->GetPlacementCount();
  };
  for (int i = 0; i < 3; ++i) {
    const glm::dvec3 eye = viewer.GetView().GetCamera().GetEye();
    QTest::keyClick(&viewer.GetView(), Qt::Key_N);
    QCOMPARE(comparison.GetCurrent(), i);
    QCOMPARE(list->currentIndex().row(), i);
    QVERIFY(glm::distance(eye, viewer.GetView().GetCamera().GetEye()) > 1.0);  // nearer to it
    QCOMPARE(viewer.GetDocument().GetCurrent()->GetName(),
             comparison.GetReport().differences[i].name.toStdString());
  }
  QCOMPARE(countDrawn(), 23u);  // the drawer that was moved, at its old place too
  viewer.SaveForGuide("compare-moved");
  QTest::keyClick(&viewer.GetView(), Qt::Key_N, Qt::ShiftModifier);
  QCOMPARE(comparison.GetCurrent(), 1);
  QCOMPARE(countDrawn(), 22u);

  // What is selected in the picture is found in the list, and what belongs to no difference in none.
  viewer.GetView().FitAll();
  const QPointF drawer = viewer.FindPoint(comparison.GetReport().differences[0].places[0].newer);
  QVERIFY(drawer.x() > 0);
  QTest::mouseClick(&viewer.GetView(), Qt::LeftButton, Qt::NoModifier, drawer.toPoint());
  QCOMPARE(comparison.GetCurrent(), 0);
  QCOMPARE(list->currentIndex().row(), 0);
  viewer.GetDocument().Select({comparison.GetReport().differences[0].places[0].newer->GetPath()[0]});
  QCOMPARE(comparison.GetCurrent(), Comparison::kNone);
  // The list is used with the keyboard, and what is not listed is not stepped to.
  QTest::mouseClick(viewer.Get().findChild<QCheckBox*>("Listed_removed"), Qt::LeftButton);
  QCOMPARE(list->model()->rowCount(), 3);
  list->setFocus();  // the first one, when there is none
  QTest::keyClick(list, Qt::Key_Down);
  QCOMPARE(comparison.GetReport().differences[static_cast<std::size_t>(comparison.GetCurrent())].name,
           QString("drawer top"));
  QTest::keyClick(list, Qt::Key_N, Qt::ShiftModifier);
  QCOMPARE(comparison.GetCurrent(), 0);
}

void CompareTest::TellsOfShapes() {
  // A hole is wider.
  const QString older = ViewerWindow::GetScratch() + "/hole.brep",
                newer = ViewerWindow::GetScratch() + "/wider.brep";
  QVERIFY(WriteTube(older, 5.0) && WriteTube(newer, 5.1));
  ViewerWindow viewer;
  viewer.Get().Compare(older, newer);
  QVERIFY(WaitUntilShown(viewer));
  QTest::keyClick(&viewer.GetView(), Qt::Key_N);
  const QString details = viewer.Get().findChild<QLabel*>("DifferenceDetails")->text();
  QVERIFY2(details.contains("volume") && details.contains("faces   ") && details.contains("->"),
           qPrintable(details));
  viewer.Settle();
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 2u);  // both bodies
}

void CompareTest::SaysWhyNothingIsCompared() {
  const Versions versions;
  ViewerWindow viewer;
  Comparison& comparison = viewer.Get().GetComparison();
  const QString missing = ViewerWindow::GetScratch() + "/nowhere.step";
  viewer.Get().Compare(missing, versions.newer);
  QVERIFY(WaitUntilOff(viewer));
  QVERIFY2(viewer.GetMessages().contains("nowhere.step: cannot be opened, and so not be compared"),
           qPrintable(viewer.GetMessages()));

  comparison.SetProgram(ViewerWindow::MakeScript("crashing-diff", "kill -SEGV $$\n"));
  viewer.Get().Compare(versions.older, versions.newer);
  QVERIFY(WaitUntilOff(viewer));
  QVERIFY2(viewer.GetMessages().contains("the comparison ended in a crash or was killed"),
           qPrintable(viewer.GetMessages()));
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(2));  // both stay open

  // It can be called off.
  comparison.SetProgram(ViewerWindow::MakeScript("slow-diff", "exec sleep 60\n"));
  viewer.Get().Compare(versions.older, versions.newer);
  auto* const cancel = viewer.Get().findChild<QToolButton*>("Cancel");
  QVERIFY(QTest::qWaitFor(
      [&] {
        return comparison.GetStage() == Stage::kComparing && !viewer.Get().GetOpener().IsBusy() &&
               cancel->isVisible();
      },
      60000));
  QTest::mouseClick(cancel, Qt::LeftButton);
  QCOMPARE(comparison.GetStage(), Stage::kOff);
  QVERIFY(!cancel->isVisible());

  // Bodies that cannot be read are named, and the rest is compared; so is a folder with itself.
  comparison.SetProgram(MIREL_PROGRAM);
  const QString damaged = ViewerWindow::GetScratch() + "/damaged-newer";
  QProcess::execute("cp", {"-r", ViewerWindow::GetSampleFolder(), damaged});
  QVERIFY(QFile::resize(damaged + "/model/1.gz", 100));
  viewer.Get().Compare(ViewerWindow::GetSampleFolder(), damaged);
  QVERIFY(WaitUntilShown(viewer));
  QVERIFY2(viewer.GetMessages().contains("damaged-newer/model/1.gz"), qPrintable(viewer.GetMessages()));
  viewer.Get().Compare(ViewerWindow::GetSampleFolder(), ViewerWindow::GetSampleFolder());
  QVERIFY(QTest::qWaitFor([&] { return comparison.GetStage() != Stage::kShown; }));
  QVERIFY(WaitUntilShown(viewer));
  QVERIFY(viewer.Get().findChild<QLabel*>("DifferenceSummary")->text().contains("nothing is different"));
  // Files that are closed are not compared any more.
  viewer.Get().GetMenus().FindAction("CloseAll")->trigger();
  QVERIFY(WaitUntilOff(viewer));
}

void CompareTest::TakesTwoVersions() {
  QProcess process;
  process.start(MIREL_VIEWER, {"--compare", MIREL_SAMPLE});
  QVERIFY(process.waitForFinished(60000));
  QCOMPARE(process.exitCode(), 1);
  QVERIFY(process.readAllStandardError().contains("--compare OLD NEW"));
}

static const bool g_added = ViewerTests::Add<CompareTest>("Compare");

}  // namespace mirel

#include "CompareTest.moc"

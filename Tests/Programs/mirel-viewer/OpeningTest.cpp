#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Application/RecentFiles.h>
#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Opening/ConversionCache.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepTools.hxx>
#include <IGESControl_Writer.hxx>

#include <glm/glm.hpp>

#include <QAction>
#include <QDir>
#include <QDirIterator>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace mirel {

class OpeningTest : public QObject {
  Q_OBJECT

 private slots:
  void OpensFoldersIndexesAndArchives();
  void AsksForFilesAndTakesDroppedOnes();
  void ConvertsSourcesOnce();
  void LivesWithABadCache();
  void KeepsTheCacheSmall();
  void OpensIgesAndBRepFiles();
  void SaysWhatCannotBeOpened();
  void SurvivesTheConverter();
};

void OpeningTest::OpensFoldersIndexesAndArchives() {
  ViewerWindow viewer;
  const QString folder = ViewerWindow::GetSampleFolder(),
                archive = ViewerWindow::GetScratch() + "/trolley.tar.gz";
  QCOMPARE(QProcess::execute("tar", {"czf", archive, "-C", QFileInfo(folder).path(), "trolley"}), 0);
  viewer.Get().Open({folder, folder + "/index.gz", archive});
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetMessages(), QString());
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(3));
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 66u);
  QCOMPARE(viewer.Get().windowTitle(), QString("trolley.tar.gz - Mirel"));
  QCOMPARE(RecentFiles::GetPaths(), QStringList({archive, folder + "/index.gz", folder}));
  viewer.Get().GetMenus().FindAction("CloseAll")->trigger();
  QVERIFY(viewer.GetDocument().GetRoots().empty());
  QVERIFY(viewer.Settle());
}

void OpeningTest::AsksForFilesAndTakesDroppedOnes() {
  ViewerWindow viewer;
  const QString index = ViewerWindow::GetSampleFolder() + "/index.gz";
  ViewerWindow::AnswerDialog(index);
  viewer.Get().GetMenus().FindAction("Open")->trigger();
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(1));
  // The module's own command asks through the host, and what it adds is shown in the same way.
  ViewerWindow::AnswerDialog(index);
  viewer.Get().GetMenus().FindAction("ImportLiteModel")->trigger();
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 44u);

  QMimeData mime;
  mime.setUrls({QUrl::fromLocalFile(index), QUrl("https://example.org/model.step")});
  QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&viewer.Get(), &enter);
  QVERIFY(enter.isAccepted());
  QDropEvent drop(QPointF(100, 100), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&viewer.Get(), &drop);
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(3));
  QVERIFY(viewer.GetMessages().contains("model.step: is not a file of this computer"));
}

void OpeningTest::ConvertsSourcesOnce() {
  ViewerWindow viewer;
  const QString source = ViewerWindow::GetScratch() + QString::fromUtf8("/Größe 车.step");
  QVERIFY(QFile::copy(MIREL_SAMPLE, source));
  QSignalSpy progress(&viewer.Get().GetOpener(), &ModelOpener::Progressed);
  viewer.Get().Open({source});
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetMessages(), QString());
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 22u);
  QVERIFY(std::any_of(progress.begin(), progress.end(), [](const QList<QVariant>& said) {
    return said[0].toString().startsWith("Converting");
  }));
  // The same content under another name is there at once.
  const QString copy = ViewerWindow::GetScratch() + "/copy.stp";
  QVERIFY(QFile::copy(MIREL_SAMPLE, copy));
  progress.clear();
  viewer.Get().Open({copy});
  QVERIFY(viewer.Settle());
  QVERIFY(std::none_of(progress.begin(), progress.end(), [](const QList<QVariant>& said) {
    return said[0].toString().startsWith("Converting");
  }));
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(2));
  // What is damaged in the cache is made anew.
  QDirIterator packages(qEnvironmentVariable("XDG_CACHE_HOME") + "/mirel-viewer/models", {"1.gz"},
                        QDir::Files, QDirIterator::Subdirectories);
  while (packages.hasNext()) {
    QVERIFY(QFile::resize(packages.next(), 10));
  }
  viewer.Get().Open({source});
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetMessages(), QString());
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 66u);
  // A file that changes while it is open.
  QFile changed(source);
  QVERIFY(changed.open(QIODevice::Append));
  changed.write("\n");
  changed.close();
  QTRY_VERIFY(viewer.GetMessages().contains("has changed since it was opened"));
}

void OpeningTest::LivesWithABadCache() {
  ViewerWindow viewer;
  const QString file = ViewerWindow::GetScratch() + "/no-folder";
  QVERIFY(QFile(file).open(QIODevice::WriteOnly));
  viewer.Get().GetOpener().SetSettings({file + "/cache", QString()});
  viewer.Get().Open({MIREL_SAMPLE});
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 22u);
  QVERIFY2(viewer.GetMessages().contains("is not kept for the next time"), qPrintable(viewer.GetMessages()));
}

void OpeningTest::KeepsTheCacheSmall() {
  const ConversionCache cache(ViewerWindow::GetScratch() + "/small", 2500);
  QString reason;
  for (const char* key : {"a", "b", "c"}) {
    const QString folder = cache.Prepare(key, reason);
    QVERIFY(QDir().mkpath(folder));
    QFile index(folder + "/index.gz");
    QVERIFY(index.open(QIODevice::WriteOnly));
    index.write(QByteArray(1000, 'x'));
    index.close();
    QTest::qWait(20);
    QVERIFY(cache.Find("a"));  // is used each time
    QTest::qWait(20);
    cache.Clean(key);
  }
  QVERIFY(cache.Find("a"));
  QVERIFY(!cache.Find("b"));
  QVERIFY(cache.Find("c"));
}

void OpeningTest::OpensIgesAndBRepFiles() {
  ViewerWindow viewer;
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10.0, 20.0, 30.0);
  const QString brep = ViewerWindow::GetScratch() + "/box.brep",
                iges = ViewerWindow::GetScratch() + "/box.igs";
  QVERIFY(BRepTools::Write(box, brep.toUtf8().constData()));
  IGESControl_Writer writer("MM", 1);
  QVERIFY(writer.AddShape(box) && writer.Write(iges.toUtf8().constData()));
  viewer.Get().Open({brep, iges});
  QVERIFY(viewer.Settle());
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(2));
  const glm::dvec3 size = viewer.GetDocument().GetSnapshot().scene->GetBox().GetMax();
  QVERIFY(glm::distance(size, glm::dvec3(10, 20, 30)) < 0.1);
}

void OpeningTest::SaysWhatCannotBeOpened() {
  ViewerWindow viewer;
  const QString broken = ViewerWindow::GetScratch() + "/broken",
                empty = ViewerWindow::GetScratch() + "/empty";
  QProcess::execute("cp", {"-r", ViewerWindow::GetSampleFolder(), broken});
  QVERIFY(QFile::resize(broken + "/grep/1.gz", 100));
  QVERIFY(QDir().mkpath(empty));
  const QString text = ViewerWindow::GetScratch() + "/notes.txt";
  QFile notes(text);
  QVERIFY(notes.open(QIODevice::WriteOnly));
  notes.write("not a model");
  notes.close();
  viewer.Get().Open({broken, empty, text, "/nowhere/model.step"});
  QVERIFY(viewer.Settle());
  const QString said = viewer.GetMessages();
  QVERIFY2(said.contains("grep/1.gz"), qPrintable(said));
  QVERIFY2(said.contains("is not a model folder"), qPrintable(said));
  QVERIFY2(said.contains("notes.txt: neither its name nor its content"), qPrintable(said));
  QVERIFY2(said.contains("/nowhere/model.step: no such file"), qPrintable(said));
  QCOMPARE(viewer.GetDocument().GetRoots().size(), std::size_t(1));  // the tree of the broken one

  // What fails while it is already seen: the exact bodies, which come last.
  const QString damaged = ViewerWindow::GetScratch() + "/damaged";
  QProcess::execute("cp", {"-r", ViewerWindow::GetSampleFolder(), damaged});
  QVERIFY(QFile::resize(damaged + "/model/1.gz", 100));
  viewer.Get().Open({damaged});
  QVERIFY(viewer.Settle());
  QVERIFY2(viewer.GetMessages().contains("model/1.gz"), qPrintable(viewer.GetMessages()));
  QCOMPARE(viewer.GetDocument().GetSnapshot().scene->GetPlacementCount(), 22u);
}

void OpeningTest::SurvivesTheConverter() {
  ViewerWindow viewer;
  viewer.Get().GetOpener().SetSettings({QString(), ViewerWindow::MakeScript("crash", "kill -SEGV $$\n")});
  viewer.Get().Open({MIREL_SAMPLE});
  QVERIFY(viewer.Settle());
  QVERIFY2(viewer.GetMessages().contains("trolley.step: the converter ended in a crash or was killed"),
           qPrintable(viewer.GetMessages()));

  const QString mark = ViewerWindow::GetScratch() + "/ended";
  viewer.Get().GetOpener().SetSettings(
      {QString(),
       ViewerWindow::MakeScript(
           "slow", "trap 'touch " + mark.toUtf8() +
                       "; exit 1' TERM\necho 'progress: reading 42' >&2\nwhile :; do sleep 0.1; done\n")});
  viewer.Get().Open({MIREL_SAMPLE});
  auto* const cancel = viewer.Get().findChild<QToolButton*>("Cancel");
  QTRY_VERIFY(cancel->isVisible());
  QTest::mouseClick(cancel, Qt::LeftButton);
  QVERIFY(QTest::qWaitFor([&] { return !viewer.Get().GetOpener().IsBusy(); }, 10000));
  QVERIFY(QFile::exists(mark));
  QVERIFY(!cancel->isVisible());
  QVERIFY(viewer.GetDocument().GetRoots().empty());
}

static const bool g_added = ViewerTests::Add<OpeningTest>("Opening");

}  // namespace mirel

#include "OpeningTest.moc"

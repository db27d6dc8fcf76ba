#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Commands/CommandMenus.h>
#include <Programs/mirel-viewer/Tree/PartsPanel.h>
#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QTest>
#include <QTreeView>

namespace mirel {

class TreeTest : public QObject {
  Q_OBJECT

 private slots:
  void SelectsBothWays();
  void FindsNamesAndIds();
  void CountsEqualParts();
  void HoldsAMillionNodes();
};

void TreeTest::SelectsBothWays() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  auto* const tree = viewer.Get().findChild<QTreeView*>("Tree");
  auto* const model = static_cast<SceneTreeModel*>(tree->model());
  const SceneNode* const handle = viewer.FindNode("push handle");
  const QImage before = viewer.Grab();
  const QRect row = tree->visualRect(model->FindIndex(handle));
  QVERIFY(row.isValid());
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, row.center());
  QCOMPARE(viewer.GetDocument().GetSelection(), Document::Nodes({handle}));
  QVERIFY(CompareImages(before, viewer.Grab(), 30) > 0.001);

  const QPointF point = viewer.FindPoint(viewer.FindNode("ballast"));
  QTest::mouseClick(&viewer.GetView(), Qt::LeftButton, Qt::NoModifier, point.toPoint());
  QCOMPARE(tree->selectionModel()->selectedIndexes().size(), 1);
  const QModelIndex index = tree->selectionModel()->selectedIndexes().front();
  QCOMPARE(index.data().toString(), QString("Gegengewicht"));
  QVERIFY(tree->visualRect(index).isValid());  // its group was opened
  QTest::mouseClick(&viewer.GetView(), Qt::LeftButton, Qt::ControlModifier,
                    viewer.FindPoint(handle).toPoint());
  QCOMPARE(tree->selectionModel()->selectedIndexes().size(), 2);
  viewer.SaveForGuide("selected");

  // What the mouse is over lights up, in the picture and from the tree.
  QTest::mouseMove(&viewer.GetView(), point.toPoint());
  QTRY_VERIFY(viewer.GetDocument().GetHovered() != nullptr);
  QCOMPARE(QString::fromStdString(viewer.GetDocument().GetHovered()->GetName()), QString("Gegengewicht"));
  QVERIFY(viewer.Get().findChild<QLabel*>("Hovered")->text().contains("ballast / Gegengewicht"));
  QTest::mouseMove(tree->viewport(), tree->visualRect(model->FindIndex(handle)).center());
  QTRY_COMPARE(viewer.GetDocument().GetHovered(), handle);
}

void TreeTest::FindsNamesAndIds() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.Get().GetMenus().FindAction("Find")->trigger();
  auto* const field = viewer.Get().findChild<QLineEdit*>("SearchField");
  auto* const count = viewer.Get().findChild<QLabel*>("SearchCount");
  auto* const found = viewer.Get().findChild<QListView*>("Found");
  QTRY_VERIFY(field->hasFocus());
  QTest::keyClicks(field, "CASTER f");
  QTRY_COMPARE(count->text(), QString("2 found"));
  viewer.SaveForGuide("search");
  QTest::keyClick(field, Qt::Key_Down);
  QCOMPARE(viewer.GetDocument().GetSelection(), Document::Nodes({viewer.FindNode("caster front left")}));
  for (const QString& text :
       {QString::fromUtf8("griff größe"), QString::fromUtf8("具"), QString("12928471296982067250")}) {
    field->setText(text);
    QTRY_VERIFY2(found->isVisible() && count->text() == "1 found", qPrintable(text + ": " + count->text()));
  }
  QTest::keyClick(field, Qt::Key_Escape);
  QVERIFY(viewer.Get().findChild<QTreeView*>("Tree")->isVisible());
}

void TreeTest::CountsEqualParts() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  viewer.Get().GetMenus().FindAction("CopyParts")->trigger();
  const QStringList lines = QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
  int sum = 0;
  for (const QString& line : lines.mid(1)) {
    sum += line.split('\t')[2].toInt();
  }
  QCOMPARE(lines.front(), QString("Name\tId\tCount"));
  QCOMPARE(sum, 22);
  QVERIFY(lines.filter("Schublade\t6019998976246363950\t2").size() == 1);
  // Of what is selected alone.
  viewer.GetDocument().Select({viewer.FindNode("ballast")});
  viewer.Get().GetParts().findChild<QCheckBox*>("OnlySelected")->setChecked(true);
  viewer.Get().GetMenus().FindAction("CopyParts")->trigger();
  QCOMPARE(QApplication::clipboard()->text().count('\n'), 2);
  viewer.Get().GetParts().findChild<QCheckBox*>("OnlySelected")->setChecked(false);
  const QString file = ViewerWindow::GetScratch() + "/parts.csv";
  QString reason;
  QVERIFY(viewer.Get().GetParts().SaveTable(file, reason));
  QFile table(file);
  QVERIFY(table.open(QIODevice::ReadOnly));
  QVERIFY(table.readAll().contains("Schublade,6019998976246363950,2\r\n"));
  QVERIFY(!viewer.Get().GetParts().SaveTable(ViewerWindow::GetScratch() + "/no/parts.csv", reason));
  QVERIFY(!reason.isEmpty());
}

void TreeTest::HoldsAMillionNodes() {
  ViewerWindow viewer;
  const auto root = std::make_shared<GroupSceneNode>(), wide = std::make_shared<GroupSceneNode>();
  root->SetName("many");
  wide->SetName("wide");
  root->AddNode(wide);
  for (int i = 0; i < 100000; ++i) {
    const auto child = std::make_shared<GroupSceneNode>();
    child->SetName("child " + std::to_string(i));
    wide->AddNode(child);
  }
  for (int i = 0; i < 1000; ++i) {
    const auto group = std::make_shared<GroupSceneNode>();
    for (int j = 0; j < 900; ++j) {
      const auto leaf = std::make_shared<GroupSceneNode>();
      leaf->SetUserId(static_cast<unsigned long long>(i * 900 + j + 1));
      leaf->SetName("leaf");
      group->AddNode(leaf);
    }
    root->AddNode(group);
  }
  // Far more than it takes on a quiet machine, far less than anything that looks at each row would.
  QElapsedTimer timer;
  timer.start();
  viewer.GetDocument().GetViewer().GetContext()->GetScene()->AddNode(root);
  viewer.GetDocument().TakeSceneChanges();
  auto* const tree = viewer.Get().findChild<QTreeView*>("Tree");
  auto* const model = static_cast<SceneTreeModel*>(tree->model());
  const qint64 opened = timer.restart();
  tree->expand(model->FindIndex(wide.get()));
  QVERIFY(tree->visualRect(model->FindIndex(wide->GetNodes()[3].get())).isValid());
  const qint64 expanded = timer.restart();
  auto* const count = viewer.Get().findChild<QLabel*>("SearchCount");
  viewer.Get().findChild<QLineEdit*>("SearchField")->setText("child 99");
  QTRY_COMPARE(count->text(), QString("1,111 found"));
  const qint64 searched = timer.restart();
  qInfo("a million nodes: opened in %lld ms, 100000 children in %lld ms, searched in %lld ms", opened,
        expanded, searched);
  QVERIFY(opened < 5000);
  QVERIFY(expanded < 5000);
  QVERIFY(searched < 20000);
  viewer.Get().findChild<QLineEdit*>("SearchField")->setText("leaf");
  QTRY_VERIFY(count->text().contains("the first 10000 are listed"));
}

static const bool g_added = ViewerTests::Add<TreeTest>("Tree");

}  // namespace mirel

#include "TreeTest.moc"

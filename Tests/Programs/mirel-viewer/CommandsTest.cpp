#include <Tests/Programs/mirel-viewer/ViewerTests.h>
#include <Tests/Programs/mirel-viewer/ViewerWindow.h>

#include <Programs/mirel-viewer/Application/Theme.h>
#include <Programs/mirel-viewer/Commands/CommandMenus.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QTest>
#include <QTreeView>
#include <QWidget>

#include <stdexcept>

namespace mirel {

namespace {

// What a module may register: it keeps count of what the host asks of it.
class CountingCommand : public Command {
 public:
  CountingCommand() { SetName("Counting"); }

  std::string GetUIName() const override { return "Add a group"; }
  std::string Query(const std::string& question) const override {
    return question == "menu" ? "Modules/Counting" : question == "shortcut" ? "Ctrl+Alt+K" : "";
  }
  bool IsVisible(CommandContext*) const override { return isVisible; }
  bool IsChecked(CommandContext*) const override { return runs % 2 == 1; }
  void Prepare(CommandContext*) override { ++prepared; }
  bool BeforeRunning(CommandContext*) override { return isAllowed; }
  bool Execute(CommandContext* context) override {
    if (++runs == 3) {
      throw std::runtime_error("three is too many");
    }
    const auto group = std::make_shared<GroupSceneNode>();
    group->SetName("from a module");
    context->GetViewer()->GetContext()->GetScene()->AddNode(group);
    return true;
  }

  bool isVisible = true, isAllowed = true;
  int runs = 0, prepared = 0;
};

struct Ended {
  int code;
  QString output;
};

Ended RunViewer(const QStringList& arguments, const QStringList& environment = {}) {
  QProcess process;
  process.setEnvironment(QProcess::systemEnvironment() + environment);
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.start(MIREL_VIEWER, arguments);
  process.waitForFinished(60000);
  return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, process.readAll()};
}

}  // namespace

class CommandsTest : public QObject {
  Q_OBJECT

 private slots:
  void ShowsCommandsOfModulesLikeItsOwn();
  void TakesFurtherModules();
  void CanBeUsedWithoutAMouse();
  void EndsWithAReason();
};

void CommandsTest::ShowsCommandsOfModulesLikeItsOwn() {
  const auto command = std::make_shared<CountingCommand>();
  command->isVisible = false;
  CommandManager::Instance().Register(command);
  ViewerWindow viewer;
  CommandMenus& menus = viewer.Get().GetMenus();
  QAction* const action = menus.FindAction("Counting");
  QCOMPARE(action->text(), QString("Add a group"));
  QVERIFY(!action->isVisible());
  QCOMPARE(command->prepared, 0);
  command->isVisible = true;
  emit menus.GetMenu("Modules")->aboutToShow();
  QVERIFY(action->isVisible());
  QCOMPARE(command->prepared, 1);

  QTest::keyClick(&viewer.Get(), Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
  QCOMPARE(command->runs, 1);
  QCOMPARE(command->prepared, 1);
  QVERIFY(action->isChecked());
  QCOMPARE(viewer.Get().findChild<QTreeView*>("Tree")->model()->index(0, 0).data().toString(),
           QString("from a module"));
  command->isAllowed = false;
  action->trigger();
  QCOMPARE(command->runs, 1);
  command->isAllowed = true;
  action->trigger();
  action->trigger();
  QVERIFY(viewer.GetMessages().contains("Add a group: three is too many"));
  command->isVisible = false;
}

void CommandsTest::TakesFurtherModules() {
  ViewerWindow viewer;
  QString reason;
  QVERIFY2(DesktopHost::LoadModule(MIREL_PAINT_MODULE, reason), qPrintable(reason));
  viewer.Reopen();
  QVERIFY(viewer.OpenSample());
  const QImage before = viewer.Grab();
  QVERIFY(viewer.Get().GetMenus().GetMenu("Modules")->actions().contains(
      viewer.Get().GetMenus().FindAction("Paint")));
  QTest::keyClick(&viewer.Get(), Qt::Key_G, Qt::ControlModifier | Qt::AltModifier);
  QVERIFY(CompareImages(before, viewer.Grab(), 40) > 0.1);
}

void CommandsTest::CanBeUsedWithoutAMouse() {
  ViewerWindow viewer;
  QVERIFY(viewer.OpenSample());
  for (QWidget* widget : viewer.Get().findChildren<QWidget*>()) {
    const bool takesKeys = widget->focusPolicy() != Qt::NoFocus && widget->isVisible();
    const bool isPart =
        widget->objectName().startsWith("qt_") || widget->parentWidget()->inherits("QAbstractItemView");
    if (takesKeys && !isPart) {
      const bool hasName =
          !widget->accessibleName().isEmpty() || !widget->property("text").toString().isEmpty();
      QVERIFY2(hasName, qPrintable(widget->metaObject()->className() + QString(" ") + widget->objectName()));
    }
  }
  // No two commands have the same keys.
  QMap<QString, QString> users;
  for (QAction* action : viewer.Get().actions()) {
    for (const QKeySequence& keys : action->shortcuts()) {
      QVERIFY2(!users.contains(keys.toString()), qPrintable(keys.toString() + " " + action->text()));
      users[keys.toString()] = action->text();
    }
  }
  CommandMenus& menus = viewer.Get().GetMenus();
  menus.FindAction("ThemeDark")->trigger();
  QTRY_VERIFY(IsDark());
  viewer.SaveForGuide("dark");
  menus.FindAction("ThemeLight")->trigger();
  QTRY_VERIFY(!IsDark());
}

void CommandsTest::EndsWithAReason() {
  const QString folder = ViewerWindow::GetSampleFolder();
  const Ended shown = RunViewer({"--benchmark", folder});
  QVERIFY2(shown.code == 0 && shown.output.contains("picture"), qPrintable(shown.output));
  const Ended old = RunViewer({"--benchmark", folder}, {"MESA_GL_VERSION_OVERRIDE=3.3"});
  QVERIFY2(old.code == 3 && old.output.contains("4.3"), qPrintable(old.output));
  const Ended module = RunViewer({"--benchmark", "--module", MIREL_HOST_LIBRARY, folder});
  QVERIFY2(module.code == 2 && module.output.contains("registers no command, reader or loader"),
           qPrintable(module.output));
}

static const bool g_added = ViewerTests::Add<CommandsTest>("Commands");

}  // namespace mirel

#include "CommandsTest.moc"

#include <Programs/mirel-viewer/Commands/CommandMenus.h>

#include <Programs/mirel-viewer/Commands/ActionCommand.h>

#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <QAction>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <exception>

namespace mirel {

namespace {

QString Ask(const Command& command, const char* question) {
  return QString::fromStdString(command.Query(question));
}

}  // namespace

CommandMenus::CommandMenus(QMainWindow& window, QToolBar& toolbar, Viewer& viewer)
    : QObject(&window), window_(window), viewer_(viewer) {
  for (const char* title : {"File", "Edit", "Show", "View", "Measure", "Modules", "Help"}) {
    GetMenu(title);  // in this order, whoever registered first
  }
  for (const std::shared_ptr<Command>& command : CommandManager::Instance().GetCommands()) {
    Add(command, toolbar);
  }
  Refresh();
}

QMenu* CommandMenus::GetMenu(const QString& titles) {
  QMenu*& menu = menus_[titles];
  if (menu != nullptr) {
    return menu;
  }
  const qsizetype slash = titles.lastIndexOf('/');
  QMenu* const made = slash < 0 ? window_.menuBar()->addMenu("&" + titles)
                                : GetMenu(titles.left(slash))->addMenu(titles.mid(slash + 1));
  connect(made, &QMenu::aboutToShow, this, [this] { Refresh(); });
  return menus_[titles] = made;
}

void CommandMenus::Add(const std::shared_ptr<Command>& command, QToolBar& toolbar) {
  const QString answer = Ask(*command, "menu");
  QMenu* const menu = GetMenu(answer.isEmpty() ? QStringLiteral("Modules") : answer);
  const QString group = Ask(*command, "group");
  if (lastGroups_.contains(menu) && lastGroups_[menu] != group) {
    menu->addSeparator();
  }
  lastGroups_[menu] = group;

  auto* const action = new QAction(QString::fromStdString(command->GetUIName()), &window_);
  action->setObjectName(QString::fromStdString(command->GetName()));
  QList<QKeySequence> keys;
  for (const QString& key : Ask(*command, "shortcut").split(' ', Qt::SkipEmptyParts)) {
    keys.append(QKeySequence(key));
  }
  action->setShortcuts(keys);
  const QString tip = Ask(*command, "tip");
  action->setStatusTip(tip);
  action->setToolTip(
      (tip.isEmpty() ? action->text() : tip) +
      (keys.isEmpty() ? QString() : " (" + keys.front().toString(QKeySequence::NativeText) + ")"));
  const std::string name = command->GetName();
  connect(action, &QAction::triggered, this, [this, name] { Run(name); });
  menu->addAction(action);
  window_.addAction(action);  // so that its keys work while no menu is open
  if (Ask(*command, "toolbar") == "yes") {
    toolbar.addAction(action);
  }
  entries_.push_back({name, action});
}

void CommandMenus::Refresh() {
  for (Entry& entry : entries_) {
    Refresh(entry);
  }
}

void CommandMenus::Refresh(Entry& entry) {
  const std::shared_ptr<Command> command = CommandManager::Instance().Find(entry.name);
  CommandContext context(&viewer_);
  const bool isVisible = command->IsVisible(&context);
  if (isVisible && !entry.prepared) {
    command->Prepare(&context);
    entry.prepared = true;
  }
  const bool isChecked = command->IsChecked(&context);
  entry.action->setVisible(isVisible);
  entry.action->setEnabled(command->Query("enabled") != "no");
  entry.action->setCheckable(isChecked || command->Query("checkable") == "yes");
  entry.action->setChecked(isChecked);
}

bool CommandMenus::Run(const std::string& name) {
  const std::shared_ptr<Command> command = CommandManager::Instance().Find(name);
  if (!command) {
    return false;
  }
  const bool isForeign = dynamic_cast<ActionCommand*>(command.get()) == nullptr;
  if (isForeign && beforeForeign_) {
    beforeForeign_();
  }
  CommandContext context(&viewer_);
  bool done = false;
  QString text;
  try {
    done = command->BeforeRunning(&context) && command->Execute(&context);
  } catch (const std::exception& failure) {
    text = QString::fromStdString(command->GetUIName() + ": " + failure.what());
  }
  emit Done(text, isForeign);
  Refresh();
  return done;
}

QAction* CommandMenus::FindAction(const std::string& name) const {
  for (const Entry& entry : entries_) {
    if (entry.name == name) {
      return entry.action;
    }
  }
  return nullptr;
}

}  // namespace mirel

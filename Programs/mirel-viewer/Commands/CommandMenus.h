#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAction;
class QMainWindow;
class QMenu;
class QToolBar;

namespace mirel {

class Command;
class Viewer;

/// Menus, toolbar and shortcuts of all registered commands.
///
/// A command is asked for its state (shown, checked, enabled) before a menu opens and whenever `Refresh` is called, and is
/// prepared once, before it is first shown. What commands say and how they end goes to `Done`.
class CommandMenus : public QObject {
  Q_OBJECT

 public:
  /// Fills the menu bar and `toolbar` of a window, all of which must outlive this, with the commands that are registered now.
  /// They run in `viewer`.
  CommandMenus(QMainWindow& window, QToolBar& toolbar, Viewer& viewer);

  /// Called before a command runs that is none of the program's own, and may change the scene.
  void SetBeforeForeign(std::function<void()> function) { beforeForeign_ = std::move(function); }

  void Refresh();

  /// Runs a command as its menu entry does; false when it refused or was called off.
  bool Run(const std::string& name);

  /// The entry of a command; null for a name that is not registered.
  QAction* FindAction(const std::string& name) const;

  /// The menu with these titles ("View/Look from"), made when there is none yet.
  QMenu* GetMenu(const QString& titles);

 signals:
  void Done(const QString& text, bool changed);

 private:
  struct Entry {
    std::string name;
    QAction* action;
    bool prepared = false;
  };

  void Add(const std::shared_ptr<Command>& command, QToolBar& toolbar);
  void Refresh(Entry& entry);

  QMainWindow& window_;
  Viewer& viewer_;
  std::function<void()> beforeForeign_;
  std::vector<Entry> entries_;
  QHash<QString, QMenu*> menus_;
  QHash<QMenu*, QString> lastGroups_;
};

}  // namespace mirel

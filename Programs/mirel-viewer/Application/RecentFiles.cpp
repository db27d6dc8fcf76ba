#include <Programs/mirel-viewer/Application/RecentFiles.h>

#include <QFileInfo>
#include <QMenu>
#include <QSettings>

namespace mirel {

namespace {

constexpr const char* kKey = "recentFiles";

}  // namespace

RecentFiles::RecentFiles(QMenu& menu) : QObject(&menu) {
  connect(&menu, &QMenu::aboutToShow, this, [this, &menu] {
    menu.clear();
    for (const QString& path : GetPaths()) {
      menu.addAction(QString(path).replace("&", "&&"), this, [this, path] { emit Chosen(path); });
    }
    if (menu.isEmpty()) {
      menu.addAction(tr("Nothing yet"))->setEnabled(false);
      return;
    }
    menu.addSeparator();
    menu.addAction(tr("Forget them"), this, [] { QSettings().remove(kKey); });
  });
}

QStringList RecentFiles::GetPaths() {
  return QSettings().value(kKey).toStringList();
}

void RecentFiles::Add(const QString& path) {
  const QString absolute = QFileInfo(path).absoluteFilePath();
  QStringList paths = GetPaths();
  paths.removeAll(absolute);
  paths.prepend(absolute);
  QSettings().setValue(kKey, QStringList(paths.mid(0, kMax)));
}

}  // namespace mirel

#pragma once

#include <QObject>
#include <QStringList>

class QMenu;

namespace mirel {

/// What was opened lately, in the user's settings and in a menu.
class RecentFiles : public QObject {
  Q_OBJECT

 public:
  static constexpr int kMax = 12;

  /// Fills the menu whenever it opens.
  explicit RecentFiles(QMenu& menu);

  static QStringList GetPaths();
  static void Add(const QString& path);

 signals:
  void Chosen(const QString& path);
};

}  // namespace mirel

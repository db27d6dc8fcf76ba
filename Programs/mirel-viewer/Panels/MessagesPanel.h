#pragma once

#include <QListWidget>

namespace mirel {

/// What went wrong, newest last.
class MessagesPanel : public QListWidget {
  Q_OBJECT

 public:
  explicit MessagesPanel(QWidget* parent = nullptr);

  void Add(const QStringList& messages);
};

}  // namespace mirel

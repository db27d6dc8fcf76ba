#include <Programs/mirel-viewer/Panels/MessagesPanel.h>

#include <QApplication>
#include <QStyle>

namespace mirel {

MessagesPanel::MessagesPanel(QWidget* parent) : QListWidget(parent) {
  setObjectName("Messages");
  setAccessibleName(tr("Messages"));
  setWordWrap(true);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
}

void MessagesPanel::Add(const QStringList& messages) {
  for (const QString& message : messages) {
    addItem(new QListWidgetItem(QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning), message));
  }
  scrollToBottom();
}

}  // namespace mirel

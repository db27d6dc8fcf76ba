#pragma once

#include <QDialog>

class QGridLayout;
class QLineEdit;
class QPushButton;

namespace mirel {

/// Asks for two versions of a model.
class CompareDialog : public QDialog {
  Q_OBJECT

 public:
  /// `newer` is there at first; may be empty.
  CompareDialog(const QString& newer, QWidget* parent);

  QString GetOlder() const;
  QString GetNewer() const;

 private:
  QLineEdit* AddRow(QGridLayout& grid, const QString& title, const QString& name);
  void Swap();

  QLineEdit *older_, *newer_;
  QPushButton* compare_;
};

}  // namespace mirel

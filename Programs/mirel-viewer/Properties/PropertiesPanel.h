#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QProcess;
class QPushButton;
class QTreeWidget;

namespace mirel {

class Document;

/// What is known of the node that was selected last, and what `mirel check` finds in the folder that it comes from.
class PropertiesPanel : public QWidget {
  Q_OBJECT

 public:
  explicit PropertiesPanel(Document& document, QWidget* parent = nullptr);
  ~PropertiesPanel() override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void ShowNode();
  void Check();
  void TakeFindings();

  Document& document_;
  QTreeWidget* rows_;
  QPushButton* check_;
  QPlainTextEdit* findings_;
  QProcess* process_;
};

}  // namespace mirel

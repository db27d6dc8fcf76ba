#pragma once

#include <Programs/mirel-viewer/Tree/PartsList.h>

#include <QWidget>

#include <memory>

class QCheckBox;
class QLabel;
class QTableWidget;

namespace mirel {

class Document;

/// How many of which part there are: of all, or of what is selected. Counted while it is shown.
class PartsPanel : public QWidget {
  Q_OBJECT

 public:
  explicit PartsPanel(Document& document, QWidget* parent = nullptr);
  ~PartsPanel() override;

  /// Asks for a file and writes the list into it.
  void SaveTable();
  void CopyTable();
  /// Writes it; false with a reason when that fails.
  bool SaveTable(const QString& path, QString& reason) const;

 signals:
  void Told(const QStringList& messages);

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void Count();
  PartsList MakeList() const;
  void SelectRow(int row);

  Document& document_;
  std::unique_ptr<PartsList> parts_;
  QTableWidget* table_;
  bool isSelecting_ = false;
  QCheckBox* only_;  // what is selected
  QLabel* sum_;
};

}  // namespace mirel

#pragma once

#include <Programs/mirel/Diff/ChangeKind.h>

#include <QWidget>

#include <array>
#include <iterator>

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QTreeView;

namespace mirel {

class Comparison;
class DifferenceModel;

/// The list of what is different between two versions, with what is listed of it, and how the rest is drawn.
class ComparePanel : public QWidget {
  Q_OBJECT

 public:
  explicit ComparePanel(Comparison& comparison, QWidget* parent = nullptr);

 private:
  void ShowComparison();
  void ShowCurrent();
  QString MakeSummary() const;

  Comparison& comparison_;
  DifferenceModel* model_;
  QLabel* summary_;
  std::array<QCheckBox*, std::size(kChangeKinds)> kinds_;
  QTreeView* list_;
  QLabel* details_;
  QComboBox* rest_;
  QPushButton *previous_, *next_;
  bool isShowing_ = false;
};

}  // namespace mirel

#pragma once

#include <QWidget>

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QTreeWidget;

namespace mirel {

class MeasureSession;

/// All results with their values, the unit they are written in, and the density.
class MeasurePanel : public QWidget {
  Q_OBJECT

 public:
  explicit MeasurePanel(MeasureSession& session, QWidget* parent = nullptr);

  /// All results, or those that are chosen in the list, as text.
  void Copy() const;

 private:
  void ShowResults();

  MeasureSession& session_;
  QLabel* hint_;
  QTreeWidget* list_;
  QComboBox* unit_;
  QDoubleSpinBox* density_;
};

}  // namespace mirel

#pragma once

#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QSlider;
class QToolButton;

namespace mirel {

class Document;

/// Section planes and the explosion, with sliders.
class CutPanel : public QWidget {
  Q_OBJECT

 public:
  explicit CutPanel(Document& document, QWidget* parent = nullptr);

 private:
  struct Row {
    QCheckBox* on;
    QComboBox* axis;
    QSlider* place;
    QToolButton* flip;
  };

  Row MakeRow(int number);
  void ShowState();
  void GiveSections(int row);

  Document& document_;
  std::array<Row, 3> rows_;
  QSlider* explosion_;
  bool isShowing_ = false;
  int drags_ = 1000000;  // keys of steps that are one when they follow each other
};

}  // namespace mirel

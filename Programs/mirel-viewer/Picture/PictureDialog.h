#pragma once

#include <Viewer/Draw/Picture.h>
#include <Viewer/Draw/PictureOptions.h>

#include <QDialog>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

namespace mirel {

class Document;
class ModelView;

/// Saves or copies what a view shows, drawn by rays as `mirel picture` draws it.
class PictureDialog : public QDialog {
  Q_OBJECT

 public:
  PictureDialog(Document& document, const ModelView& view, QWidget* parent);
  ~PictureDialog() override;

  /// Copies with what is chosen at first, without showing the dialog.
  void CopyNow();

 private:
  PictureOptions GetOptions() const;
  /// Draws on another thread while a cursor tells to wait; an empty picture when memory ends.
  Picture Draw();
  void Save();
  void Copy();

  Document& document_;
  const ModelView& view_;
  QSpinBox *width_, *height_, *samples_;
  QComboBox *edges_, *background_;
  QCheckBox* occlusion_;
  QLabel* error_;
};

}  // namespace mirel

#pragma once

#include <Programs/mirel-viewer/Document/ViewState.h>

#include <QUndoCommand>

namespace mirel {

class Document;

/// A step from one state of a view to another.
class ViewChange : public QUndoCommand {
 public:
  ViewChange(Document& document, ViewState before, ViewState after, const QString& text, int mergeKey);

  void undo() override;
  void redo() override;
  int id() const override { return mergeKey_; }
  bool mergeWith(const QUndoCommand* next) override;

 private:
  Document& document_;
  const ViewState before_;
  ViewState after_;
  const int mergeKey_;
};

}  // namespace mirel

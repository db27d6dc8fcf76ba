#include <Programs/mirel-viewer/Document/ViewChange.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <utility>

namespace mirel {

ViewChange::ViewChange(Document& document, ViewState before, ViewState after, const QString& text,
                       int mergeKey)
    : QUndoCommand(text),
      document_(document),
      before_(std::move(before)),
      after_(std::move(after)),
      mergeKey_(mergeKey) {}

void ViewChange::undo() {
  document_.SetState(before_);
}

void ViewChange::redo() {
  document_.SetState(after_);
}

bool ViewChange::mergeWith(const QUndoCommand* next) {
  after_ = static_cast<const ViewChange*>(next)->after_;
  return true;
}

}  // namespace mirel

#include <Programs/mirel-viewer/View/MouseScheme.h>

namespace mirel {

MouseScheme::Action MouseScheme::FindDrag(Qt::MouseButton button, Qt::KeyboardModifiers modifiers) const {
  const bool isTurning = kind_ == Kind::kCad ? button == Qt::MiddleButton
                                             : button == Qt::LeftButton || button == Qt::MiddleButton;
  if (kind_ == Kind::kTrackpad && button == Qt::LeftButton && modifiers.testFlag(Qt::ControlModifier)) {
    return Action::kRectangle;
  }
  if (isTurning) {
    if (modifiers.testFlag(Qt::ShiftModifier)) {
      return Action::kPan;
    }
    return modifiers.testFlag(Qt::ControlModifier) ? Action::kZoom : Action::kOrbit;
  }
  if (button == Qt::RightButton) {
    return Action::kPan;
  }
  return button == Qt::LeftButton ? Action::kRectangle : Action::kNone;
}

MouseScheme::Action MouseScheme::FindScroll(Qt::KeyboardModifiers modifiers, bool hasPixels) const {
  if (kind_ == Kind::kCad || !hasPixels || modifiers.testFlag(Qt::ControlModifier)) {
    return Action::kZoom;
  }
  return modifiers.testFlag(Qt::ShiftModifier) ? Action::kPan : Action::kOrbit;
}

}  // namespace mirel

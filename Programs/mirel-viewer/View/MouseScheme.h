#pragma once

#include <QString>

#include <Qt>

namespace mirel {

/// What dragging and turning the wheel do.
class MouseScheme {
 public:
  enum class Kind {
    kCad,  ///< as common CAD programs: middle button turns, right button or Shift moves, left button selects
    kTrackpad  ///< for one button and two fingers: left button turns, two fingers turn too, pinching zooms
  };
  enum class Action { kNone, kOrbit, kPan, kZoom, kRectangle };

  explicit MouseScheme(Kind kind) : kind_(kind) {}
  Kind GetKind() const { return kind_; }

  Action FindDrag(Qt::MouseButton button, Qt::KeyboardModifiers modifiers) const;
  /// Of a wheel, or of two fingers, which give `hasPixels`.
  Action FindScroll(Qt::KeyboardModifiers modifiers, bool hasPixels) const;

 private:
  Kind kind_;
};

}  // namespace mirel

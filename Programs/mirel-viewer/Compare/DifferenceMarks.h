#pragma once

class QPainter;

namespace mirel {

class Comparison;
class ModelView;

/// Paints over the picture where the parts of the current difference have come from.
class DifferenceMarks {
 public:
  /// Keeps references.
  DifferenceMarks(const Comparison& comparison, const ModelView& view)
      : comparison_(comparison), view_(view) {}

  void Paint(QPainter& painter) const;

 private:
  const Comparison& comparison_;
  const ModelView& view_;
};

}  // namespace mirel

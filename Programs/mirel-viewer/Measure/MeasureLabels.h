#pragma once

class QPainter;

namespace mirel {

class MeasureSession;
class ModelView;

/// Paints what has been measured over the picture: lines between the places, and labels that stay readable on any
/// background.
class MeasureLabels {
 public:
  MeasureLabels(const MeasureSession& session, const ModelView& view) : session_(session), view_(view) {}

  void Paint(QPainter& painter) const;

 private:
  const MeasureSession& session_;
  const ModelView& view_;
};

}  // namespace mirel

#include <Programs/mirel-viewer/Compare/DifferenceMarks.h>

#include <Programs/mirel-viewer/Compare/Comparison.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>

#include <QApplication>
#include <QLineF>
#include <QPainter>
#include <QPalette>
#include <QPolygonF>

#include <cmath>
#include <optional>

namespace mirel {

namespace {

constexpr double kHead = 11.0, kWidth = 2.0;  // pixels
constexpr std::size_t kMaxArrows = 200;

std::optional<QPointF> FindMiddle(const SceneNode* node, const ModelView& view) {
  const AABoxT<double> box = node != nullptr ? GetNodeBox(*node) : AABoxT<double>();
  return box.IsFinite() ? view.Project((box.GetMin() + box.GetMax()) * 0.5) : std::nullopt;
}

}  // namespace

void DifferenceMarks::Paint(QPainter& painter) const {
  if (comparison_.GetCurrent() == Comparison::kNone) {
    return;
  }
  const Difference& difference = comparison_.GetDifference(comparison_.GetCurrent());
  if (difference.kind != ChangeKind::kMoved && difference.kind != ChangeKind::kReparented) {
    return;
  }
  const QColor color = QApplication::palette().color(QPalette::Highlight);
  painter.setRenderHint(QPainter::Antialiasing);
  for (std::size_t i = 0; i < difference.places.size() && i < kMaxArrows; ++i) {
    const auto from = FindMiddle(difference.places[i].older, view_),
               to = FindMiddle(difference.places[i].newer, view_);
    if (!from || !to || QLineF(*from, *to).length() < kHead) {
      continue;  // the list says how far it has gone
    }
    const QPointF along = (*to - *from) / QLineF(*from, *to).length(), aside(-along.y(), along.x());
    painter.setPen(QPen(color, kWidth));
    painter.drawLine(*from, *to - along * kHead);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(*from, kWidth * 2, kWidth * 2);
    const QPointF back = *to - along * kHead;
    painter.drawPolygon(QPolygonF({*to, back + aside * kHead * 0.4, back - aside * kHead * 0.4}));
  }
}

}  // namespace mirel

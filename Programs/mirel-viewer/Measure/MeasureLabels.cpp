#include <Programs/mirel-viewer/Measure/MeasureLabels.h>

#include <Programs/mirel-viewer/Measure/MeasureSession.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <QApplication>
#include <QPainter>
#include <QPalette>

namespace mirel {

namespace {

constexpr double kDot = 3.5, kRing = 7.0;
constexpr int kMargin = 4, kAway = 14;

void PaintDot(QPainter& painter, const QPointF& place) {
  painter.drawEllipse(place, kDot, kDot);
}

}  // namespace

void MeasureLabels::Paint(QPainter& painter) const {
  const QPalette palette = QApplication::palette();
  const QColor line = palette.color(QPalette::Highlight);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(line);
  painter.setPen(QPen(line, 1.5));
  if (const auto first = session_.GetFirstPick()) {
    if (const auto place = view_.Project(*first)) {
      PaintDot(painter, *place);
    }
  }
  if (const auto& hint = session_.GetHint()) {
    if (const auto place = view_.Project(hint->point)) {
      painter.setBrush(Qt::NoBrush);
      painter.drawEllipse(*place, kRing, kRing);
      painter.drawText(*place + QPointF(kAway, kAway), hint->kind);
    }
  }
  for (const MeasureResult& result : session_.GetResults()) {
    painter.setPen(QPen(line, 1.5));
    painter.setBrush(line);
    QPolygonF seen;
    for (const glm::dvec3& point : result.line) {
      if (const auto place = view_.Project(point)) {
        seen.append(*place);
        PaintDot(painter, *place);
      }
    }
    painter.drawPolyline(seen);
    const auto anchor = view_.Project(result.anchor);
    if (!anchor || result.values.empty()) {
      continue;
    }
    if (result.line.empty()) {
      PaintDot(painter, *anchor);
    }
    const QString text = result.values[0].name + " " + result.values[0].Format(session_.GetUnit());
    QRectF box =
        QRectF(painter.fontMetrics().boundingRect(text)).adjusted(-kMargin, -kMargin, kMargin, kMargin);
    box.moveTopLeft(*anchor + QPointF(kAway, -kAway - box.height()));
    if (box.right() > view_.width()) {
      box.moveRight(anchor->x() - kAway);
    }
    painter.drawLine(*anchor, box.left() > anchor->x() ? box.bottomLeft() : box.bottomRight());
    painter.setPen(QPen(line, 1.0));
    painter.setBrush(palette.color(QPalette::Base));
    painter.drawRoundedRect(box, kMargin, kMargin);
    painter.setPen(palette.color(QPalette::Text));
    painter.drawText(box, Qt::AlignCenter, text);
  }
}

}  // namespace mirel

#include <Programs/mirel-viewer/View/ViewCube.h>

#include <glm/glm.hpp>

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QTransform>

#include <cmath>

namespace mirel {

namespace {

constexpr double kSide = 92.0, kMargin = 10.0;
constexpr double kHalfCube = 0.3;  // of the square's side
constexpr double kFaceArea =
    0.62;  // of a face, what stands for the face itself; the rest for its edges and corners

struct Face {
  glm::dvec3 normal, right, up;
  const char* text;
};
const Face kFaces[] = {
    {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}, "FRONT"}, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, "BACK"},
    {{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, "LEFT"}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, "RIGHT"},
    {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, "TOP"},    {{0, 0, -1}, {1, 0, 0}, {0, -1, 0}, "BOTTOM"}};

QPointF Place(const glm::dvec3& point, const QRectF& place, const Camera& camera) {
  const double scale = kHalfCube * place.width();
  return place.center() +
         QPointF(glm::dot(point, camera.GetRight()) * scale, -glm::dot(point, camera.GetUp()) * scale);
}

bool IsSeen(const Face& face, const Camera& camera) {
  return glm::dot(face.normal, camera.GetForward()) < -1e-3;
}

// The part of a face that stands for a direction: its middle, a side or a corner.
QPolygonF GetPatch(const Face& face, const glm::dvec3& direction, const QRectF& place, const Camera& camera) {
  const auto range = [](double side, double& low, double& high) {
    low = side > 0.5 ? kFaceArea : side < -0.5 ? -1.0 : -kFaceArea;
    high = side > 0.5 ? 1.0 : side < -0.5 ? -kFaceArea : kFaceArea;
  };
  double left, right, bottom, top;
  range(glm::dot(direction, face.right), left, right);
  range(glm::dot(direction, face.up), bottom, top);
  QPolygonF patch;
  for (const auto& [x, y] :
       {std::pair(left, bottom), std::pair(right, bottom), std::pair(right, top), std::pair(left, top)}) {
    patch << Place(face.normal + face.right * x + face.up * y, place, camera);
  }
  return patch;
}

}  // namespace

QRectF ViewCube::GetPlace(const QSizeF& size) {
  return QRectF(size.width() - kSide - kMargin, kMargin, kSide, kSide);
}

void ViewCube::Draw(QPainter& painter, const QRectF& place, const Camera& camera,
                    const std::optional<glm::dvec3>& lit) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  for (const Face& face : kFaces) {
    if (!IsSeen(face, camera)) {
      continue;
    }
    QPolygonF outline;
    for (const auto& [x, y] : {std::pair(-1, -1), std::pair(1, -1), std::pair(1, 1), std::pair(-1, 1)}) {
      outline << Place(face.normal + face.right * double(x) + face.up * double(y), place, camera);
    }
    const double light = 0.78 + 0.2 * -glm::dot(face.normal, camera.GetForward());
    painter.setPen(QPen(QColor(70, 80, 95), 1.2));
    painter.setBrush(QColor::fromRgbF(0.92f * light, 0.94f * light, 0.97f * light, 0.93f));
    painter.drawPolygon(outline);
    if (lit && glm::dot(*lit, face.normal) > 0.5) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(QColor(255, 140, 20, 190));
      painter.drawPolygon(GetPatch(face, *lit, place, camera));
    }
    // The text lies on the face.
    const QPointF right = outline[1] - outline[0], down = outline[0] - outline[3];
    QTransform onFace(right.x() / 100, right.y() / 100, down.x() / 100, down.y() / 100, outline[3].x(),
                      outline[3].y());
    painter.save();
    painter.setTransform(onFace, true);
    QFont font = painter.font();
    font.setPixelSize(22);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(50, 58, 70));
    painter.drawText(QRectF(0, 0, 100, 100), Qt::AlignCenter, QString::fromLatin1(face.text));
    painter.restore();
  }
  painter.restore();
}

std::optional<glm::dvec3> ViewCube::Find(const QPointF& point, const QRectF& place, const Camera& camera) {
  for (const Face& face : kFaces) {
    if (!IsSeen(face, camera)) {
      continue;
    }
    for (int x = -1; x <= 1; ++x) {
      for (int y = -1; y <= 1; ++y) {
        const glm::dvec3 direction = face.normal + face.right * double(x) + face.up * double(y);
        if (GetPatch(face, direction, place, camera).containsPoint(point, Qt::OddEvenFill)) {
          return direction;
        }
      }
    }
  }
  return std::nullopt;
}

}  // namespace mirel

#include <Programs/mirel/Picture/SheetLayout.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace mirel {

namespace {

// Of the smaller side of the sheet.
constexpr double kTextPart = 1.0 / 46;
constexpr int kMinText = 7;

// In sizes of the text: the room around the views, where their dimensions and names stand, that in each picture around its
// view, for lines, and the title.
constexpr double kLeft = 3.4, kMiddle = 2.4, kRight = 1.6, kAbove = 1.4, kBetween = 3.4, kBelow = 3.6,
                 kAround = 0.4;
constexpr int kTitle = 4;

// How much of a length the first of two gets that want so much of it.
double Share(double length, double first, double second) {
  const double part = first + second > 0.0 ? first / (first + second) : 0.5;
  return length * std::clamp(part, 0.3, 0.7);
}

}  // namespace

SheetLayout::SheetLayout(int width, int height, const glm::dvec3& size)
    : textSize(std::max(kMinText, static_cast<int>(std::min(width, height) * kTextPart))), margin(textSize) {
  const double text = textSize;
  titleTop = height - margin - kTitle * textSize;
  const glm::dvec2 first(margin + kLeft * text, margin + kAbove * text);
  const glm::dvec2 last(width - margin - kRight * text, titleTop - kBelow * text);
  const glm::dvec2 gap(kMiddle * text, kBetween * text);
  const glm::dvec2 room = last - first - gap;
  const glm::dvec2 firstEnd =
      first + glm::dvec2(Share(room.x, size.x, size.y), Share(room.y, size.y, size.z));
  const glm::dvec2 second = firstEnd + gap;

  const auto makeCell = [&](Camera::View view, const char* name, glm::dvec2 from, glm::dvec2 to) {
    const glm::ivec2 corner(from - kAround * text), end(to + kAround * text);
    return Cell{view, name, corner, end - corner, glm::dvec2(0.0)};
  };
  cells = {makeCell(Camera::View::kTop, "Top", first, firstEnd),
           makeCell(Camera::View::kFront, "Front", {first.x, second.y}, {firstEnd.x, last.y}),
           makeCell(Camera::View::kRight, "Right", second, last),
           makeCell(Camera::View::kIso, "Iso", {second.x, first.y}, {last.x, firstEnd.y})};
  cells[0].extent = {size.x, size.y};
  cells[1].extent = {size.x, size.z};
  cells[2].extent = {size.y, size.z};

  double largest = std::numeric_limits<double>::infinity();
  for (const Cell& cell : cells) {
    for (int axis = 0; axis < 2; ++axis) {
      const double inside = cell.size[axis] - 2 * kAround * text;
      largest = cell.extent[axis] > 0.0 ? std::min(largest, inside / cell.extent[axis]) : largest;
    }
  }
  scale = std::isfinite(largest) ? largest : 1.0;
  for (Cell& cell : cells) {
    cell.extent *= scale;
  }
}

}  // namespace mirel

#include <Programs/mirel/Picture/SheetMaker.h>

#include <Programs/mirel/Picture/SceneExtent.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/PictureRenderer.h>

#include <Viewer/Kernel/Host/GeometryView/BoxCorners.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace mirel {

namespace {

// In sizes of the text: from a view to its dimensions, what their lines leave free at the view and overshoot, arrows.
constexpr double kDimensionGap = 1.6, kExtensionGap = 0.3, kOvershoot = 0.35, kArrow = 0.8;
constexpr double kSmallText = 0.85, kCaption = 0.62;

// Lengths are written with so many digits, as the largest of them has them, but no finer than the graphics are.
constexpr int kDigits = 4, kMaxDecimals = 9;

PictureOptions::Background GetGround(const PictureOptions& options) {
  return options.background == PictureOptions::Background::kNone ? PictureOptions::Background::kNone
                                                                 : PictureOptions::Background::kColor;
}

glm::vec3 GetPaperColor(const PictureOptions& options) {
  return options.background == PictureOptions::Background::kColor ? options.backgroundColor : glm::vec3(1.0F);
}

std::vector<glm::dvec3> GetCorners(const AABoxT<double>& box) {
  const std::array<glm::dvec3, 8> corners = GetBoxCorners(box);
  return {corners.begin(), corners.end()};
}

}  // namespace

SheetMaker::SheetMaker(const PictureRenderer& renderer, const DrawScene& scene, const PictureOptions& options)
    : renderer_(renderer),
      scene_(scene),
      options_(options),
      extent_(FindSceneExtent(scene)),
      size_(extent_.IsFinite() ? extent_.GetMax() - extent_.GetMin() : glm::dvec3(0.0)),
      layout_(options.width, options.height, size_),
      lineWidth_(std::max(1.0, std::round(layout_.textSize / 16.0))),
      paper_(options.width, options.height, GetGround(options), GetPaperColor(options)) {}

Picture SheetMaker::Make(const std::string& title) {
  for (SheetLayout::Cell& cell : layout_.cells) {
    DrawView(cell);
  }
  for (const SheetLayout::Cell& cell : layout_.cells) {
    DrawName(cell);
  }
  if (extent_.IsFinite()) {
    DrawDimensions();
  }
  DrawTitle(title);
  return paper_.GetPicture();
}

void SheetMaker::DrawView(SheetLayout::Cell& cell) {
  if (!extent_.IsFinite()) {
    return;
  }
  PictureOptions options = options_;
  options.width = cell.size.x;
  options.height = cell.size.y;
  options.background = GetGround(options_);
  options.backgroundColor = GetPaperColor(options_);
  const double aspect = static_cast<double>(cell.size.x) / cell.size.y;
  Camera camera;
  camera.SetProjection(Camera::Projection::kParallel);
  camera.SetView(cell.view);
  if (cell.view == Camera::View::kIso) {
    camera.Fit(scene_, aspect);
    for (const glm::dvec3& corner : GetCorners(extent_)) {
      const double below = camera.Project(corner, cell.size).y - cell.size.y / 2.0;
      cell.extent.y = std::clamp(2 * below, cell.extent.y, static_cast<double>(cell.size.y));
    }
  } else {
    camera.Fit(GetCorners(extent_), aspect);
    camera.Zoom(camera.GetHeight() * layout_.scale / cell.size.y, camera.GetTarget());
  }
  paper_.DrawPicture(renderer_.Draw(camera, options), cell.corner.x, cell.corner.y);
}

void SheetMaker::DrawName(const SheetLayout::Cell& cell) {
  const double size = layout_.textSize;
  const TextImage name = text_.Draw(cell.name, {layout_.textSize, false, 0});
  const bool hasDimension = cell.view == Camera::View::kFront || cell.view == Camera::View::kRight;
  const double below = (hasDimension ? kDimensionGap + kOvershoot : kExtensionGap) * size;
  paper_.DrawText(name, cell.corner.x + (cell.size.x - name.width) / 2,
                  static_cast<int>(cell.corner.y + (cell.size.y + cell.extent.y) / 2 + below));
}

void SheetMaker::DrawDimensions() {
  for (const SheetLayout::Cell& cell : layout_.cells) {
    if (cell.view == Camera::View::kFront) {
      DrawDimension(cell, 0, size_.x);
      DrawDimension(cell, 1, size_.z);
    } else if (cell.view == Camera::View::kRight) {
      DrawDimension(cell, 0, size_.y);
    }
  }
}

void SheetMaker::DrawDimension(const SheetLayout::Cell& cell, int axis, double length) {
  // Along the dimension and away from the view: to the right and down, or down and to the left.
  const glm::dvec2 along = axis == 0 ? glm::dvec2(1, 0) : glm::dvec2(0, 1),
                   outside = axis == 0 ? glm::dvec2(0, 1) : glm::dvec2(-1, 0);
  const double size = layout_.textSize;
  const glm::dvec2 middle = glm::dvec2(cell.corner) + glm::dvec2(cell.size) / 2.0;
  const glm::dvec2 side = middle + outside * (cell.extent[1 - axis] / 2);
  const glm::dvec2 line = side + outside * (kDimensionGap * size);
  const glm::dvec2 half = along * (cell.extent[axis] / 2);
  for (const glm::dvec2& end : {-half, half}) {
    paper_.DrawLine(side + end + outside * (kExtensionGap * size), line + end + outside * (kOvershoot * size),
                    lineWidth_);
  }
  // In a space too narrow for them, arrows point inwards from outside.
  const double arrow = kArrow * size;
  const bool isNarrow = cell.extent[axis] < 3 * arrow;
  const glm::dvec2 outwards = along * (isNarrow ? 2 * arrow : 0.0);
  paper_.DrawLine(line - half - outwards, line + half + outwards, lineWidth_);
  paper_.DrawArrow(line - half, isNarrow ? along : -along, arrow);
  paper_.DrawArrow(line + half, isNarrow ? -along : along, arrow);

  const TextImage text = text_.Draw(ToText(length), {static_cast<int>(kSmallText * size), false, 0});
  const glm::ivec2 place(line);
  const bool isBeside =
      isNarrow || text.width + size / 2 > cell.extent[axis];  // or its own lines would cross it
  const int away = static_cast<int>(isBeside ? kOvershoot * size : 0.0) + static_cast<int>(lineWidth_);
  if (axis == 1) {
    paper_.DrawTextUpwards(text, place.x - text.height - away, place.y - text.width / 2);
  } else if (isBeside) {
    paper_.DrawText(text, static_cast<int>(line.x + half.x + outwards.x) + away, place.y - text.height / 2);
  } else {
    paper_.DrawText(text, place.x - text.width / 2, place.y - text.height - away);
  }
}

void SheetMaker::DrawTitle(const std::string& title) {
  const double low = layout_.margin, right = options_.width - layout_.margin,
               bottom = options_.height - layout_.margin, top = layout_.titleTop;
  paper_.DrawLine({low, low}, {right, low}, lineWidth_);
  paper_.DrawLine({low, bottom}, {right, bottom}, lineWidth_);
  paper_.DrawLine({low, low}, {low, bottom}, lineWidth_);
  paper_.DrawLine({right, low}, {right, bottom}, lineWidth_);
  paper_.DrawLine({low, top}, {right, top}, lineWidth_);
  const int size = layout_.textSize;
  const int projection = static_cast<int>(right) - 9 * size;
  const int dimensions = projection - std::min(18 * size, static_cast<int>((right - low) * 0.4));
  for (const int x : {dimensions, projection}) {
    paper_.DrawLine({x, top}, {x, bottom}, lineWidth_);
  }
  const std::string lengths =
      extent_.IsFinite() ? ToText(size_.x) + " × " + ToText(size_.y) + " × " + ToText(size_.z) : "–";
  DrawField(layout_.margin, dimensions, "Model", title, true);
  DrawField(dimensions, projection, "Width × depth × height in mm", lengths, false);
  DrawField(projection, static_cast<int>(right), "Projection", "Third angle", false);
}

void SheetMaker::DrawField(int left, int right, const std::string& caption, const std::string& value,
                           bool bold) {
  const int size = layout_.textSize;
  const int room = right - left - size;
  const TextImage small = text_.Draw(caption, {static_cast<int>(kCaption * size), false, room});
  const TextImage large = text_.Draw(value, {bold ? size * 3 / 2 : size, bold, room});
  const int top = layout_.titleTop + size / 3, bottom = options_.height - layout_.margin - size / 3;
  paper_.DrawText(small, left + size / 2, top);
  paper_.DrawText(large, left + size / 2, (top + small.height + bottom - large.height) / 2);
}

std::string SheetMaker::ToText(double length) const {
  const double largest = std::max({size_.x, size_.y, size_.z});
  const int whole = largest > 0.0 ? static_cast<int>(std::floor(std::log10(largest))) + 1 : 1;
  const int decimals = std::clamp(kDigits - whole, 0, kMaxDecimals);
  char digits[400];
  std::string text(
      digits, std::to_chars(digits, digits + sizeof digits, length, std::chars_format::fixed, decimals).ptr);
  if (decimals > 0) {
    text.erase(text.find_last_not_of('0') + 1);
    text.erase(text.find_last_not_of('.') + 1);
  }
  return text;
}

std::string SheetMaker::GetNote() const {
  const std::vector<std::string>& texts = text_.GetTextsWithoutFont();
  if (texts.empty()) {
    return std::string();
  }
  std::string others;
  if (texts.size() > 1) {
    others = " and of " + std::to_string(texts.size() - 1) + " more texts";
  }
  return "no font that is installed has all characters of \"" + texts.front() + "\"" + others +
         "; the sheet shows boxes in their place";
}

}  // namespace mirel

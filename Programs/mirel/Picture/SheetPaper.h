#pragma once

#include <Programs/mirel/Picture/TextPainter.h>

#include <Viewer/Draw/Picture.h>
#include <Viewer/Draw/PictureOptions.h>

#include <glm/vec2.hpp>

namespace mirel {

/// What a drawing sheet is drawn on: lines, arrows, text and pictures on a plain ground. Coordinates are in pixels from the
/// left upper corner; what lies outside is cut off.
class SheetPaper {
 public:
  /// Of a size within the limits of `Picture`. Draws in black, or in white on a dark ground.
  SheetPaper(int width, int height, PictureOptions::Background ground, const glm::vec3& color);

  /// A line along x or y.
  void DrawLine(const glm::dvec2& from, const glm::dvec2& to, double width);
  /// An arrow head that ends at a point; `direction` is a unit vector along x or y.
  void DrawArrow(const glm::dvec2& tip, const glm::dvec2& direction, double length);
  void DrawText(const TextImage& text, int left, int top);
  /// Text that is read from the right: it goes upwards.
  void DrawTextUpwards(const TextImage& text, int left, int top);
  /// Puts a picture in the place of what is there.
  void DrawPicture(const Picture& picture, int left, int top);

  const Picture& GetPicture() const { return picture_; }

 private:
  void Ink(int x, int y, double cover);

  Picture picture_;
  std::uint8_t ink_;
};

}  // namespace mirel

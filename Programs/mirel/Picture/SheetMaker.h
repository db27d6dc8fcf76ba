#pragma once

#include <Programs/mirel/Picture/SheetLayout.h>
#include <Programs/mirel/Picture/SheetPaper.h>
#include <Programs/mirel/Picture/TextPainter.h>

#include <Viewer/Draw/PictureOptions.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <string>

namespace mirel {

class DrawScene;
class PictureRenderer;

/// Draws a sheet with the standard views of a scene, its overall dimensions and its name.
class SheetMaker {
 public:
  /// The options' size is that of the sheet, and at least that of the smallest one. All is kept by reference.
  SheetMaker(const PictureRenderer& renderer, const DrawScene& scene, const PictureOptions& options);

  /// Once.
  Picture Make(const std::string& title);

  /// What a user must know of the sheet; empty when there is nothing.
  std::string GetNote() const;

 private:
  void DrawView(SheetLayout::Cell& cell);
  void DrawName(const SheetLayout::Cell& cell);
  void DrawDimensions();
  void DrawDimension(const SheetLayout::Cell& cell, int axis, double length);
  void DrawTitle(const std::string& title);
  void DrawField(int left, int right, const std::string& caption, const std::string& value, bool bold);
  std::string ToText(double length) const;

  const PictureRenderer& renderer_;
  const DrawScene& scene_;
  const PictureOptions& options_;
  const AABoxT<double> extent_;
  const glm::dvec3 size_;
  SheetLayout layout_;
  const double lineWidth_;
  SheetPaper paper_;
  TextPainter text_;
};

}  // namespace mirel

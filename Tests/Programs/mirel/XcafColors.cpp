#include <Tests/Programs/mirel/XcafColors.h>

#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Import/StepReader.h>
#include <Programs/mirel/ProgressBar.h>

#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFPrs.hxx>
#include <XCAFPrs_DocumentExplorer.hxx>
#include <gp_Lin.hxx>

#include <gtest/gtest.h>

#include <cmath>

namespace mirel {

namespace {

glm::vec3 GetColor(const XCAFPrs_Style& style, const glm::vec3& none) {
  if (!style.IsSetColorSurf()) return none;
  double red = 0.0, green = 0.0, blue = 0.0;
  style.GetColorSurf().Values(red, green, blue, Quantity_TOC_sRGB);
  return {red, green, blue};
}

}  // namespace

XcafColors::XcafColors(const std::string& stepFile) {
  ProgressBar progress(ProgressBar::Form::kNone);
  StepReader reader(progress);
  document_ = reader.Read(SourceFile(stepFile));
  EXPECT_FALSE(document_.IsNull()) << reader.GetError();
  if (document_.IsNull()) return;
  for (XCAFPrs_DocumentExplorer leaf(document_, XCAFPrs_DocumentExplorerFlags_OnlyLeafNodes); leaf.More();
       leaf.Next()) {
    const XCAFPrs_DocumentNode& node = leaf.Current();
    Add(XCAFDoc_ShapeTool::GetShape(node.RefLabel), node.Location, node.RefLabel,
        GetColor(node.Style, glm::vec3(-1.0f)));
  }
}

void XcafColors::Add(const TopoDS_Shape& shape, const TopLoc_Location& location, const TDF_Label& product,
                     const glm::vec3& own) {
  auto body = std::make_unique<Body>();
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(shape, TopAbs_FACE, faces);
  body->colors.assign(static_cast<std::size_t>(faces.Extent()), own);
  // Of the parts of a product, larger ones first: a face has the colour of the smallest that it is in.
  XCAFPrs_IndexedDataMapOfShapeStyle styles;
  XCAFPrs::CollectStyleSettings(product, TopLoc_Location(), styles);
  for (int type = TopAbs_COMPOUND; type <= TopAbs_FACE; ++type) {
    for (int i = 1; i <= styles.Extent(); ++i) {
      const TopoDS_Shape& part = styles.FindKey(i);
      if (part.ShapeType() != type || part.IsSame(shape)) continue;
      TopTools_IndexedMapOfShape colored;
      TopExp::MapShapes(part, TopAbs_FACE, colored);
      for (int k = 1; k <= colored.Extent(); ++k) {
        const int face = faces.FindIndex(colored(k));
        if (face == 0) continue;
        glm::vec3& color = body->colors[static_cast<std::size_t>(face) - 1];
        color = GetColor(styles(i), color);
      }
    }
  }
  body->rays = std::make_unique<BodyRays>(shape.Moved(location));
  bodies_.push_back(std::move(body));
}

std::vector<glm::vec3> XcafColors::FindColors(const gp_Lin& line, double distance, double tolerance,
                                              const glm::vec3& none) const {
  std::vector<glm::vec3> found;
  for (const std::unique_ptr<Body>& body : bodies_) {
    body->rays->Cast(line, distance - tolerance, distance + tolerance, [&](int face, double) {
      const glm::vec3& color = body->colors[static_cast<std::size_t>(face)];
      found.push_back(color.r < 0.0f ? none : color);
    });
  }
  return found;
}

}  // namespace mirel

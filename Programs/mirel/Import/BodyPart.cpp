#include <Programs/mirel/Import/BodyPart.h>

#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <XCAFDoc_ShapeTool.hxx>

#include <algorithm>
#include <tuple>

namespace mirel {

std::vector<BodyPart> BodyPart::ListOf(const TDF_Label& product) {
  // A compound may hold another, which then has fewer faces.
  struct Ranked {
    BodyPart part;
    TopAbs_ShapeEnum kind;
    int faces;
  };
  TDF_LabelSequence labels;
  XCAFDoc_ShapeTool::GetSubShapes(product, labels);
  std::vector<Ranked> ranked;
  for (const TDF_Label& label : labels) {
    const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
    if (!shape.IsNull()) {
      TopTools_IndexedMapOfShape faces;
      TopExp::MapShapes(shape, TopAbs_FACE, faces);
      ranked.push_back({{label, shape}, shape.ShapeType(), faces.Extent()});
    }
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) {
    return std::make_tuple(a.kind, -a.faces) < std::make_tuple(b.kind, -b.faces);
  });
  std::vector<BodyPart> parts;
  for (const Ranked& entry : ranked) {
    parts.push_back(entry.part);
  }
  return parts;
}

std::vector<int> BodyPart::FindIn(const TopTools_IndexedMapOfShape& all) const {
  std::vector<int> found;
  if (all.IsEmpty()) {
    return found;
  }
  TopTools_IndexedMapOfShape own;
  TopExp::MapShapes(shape, all(1).ShapeType(), own);
  for (int i = 1; i <= own.Extent(); ++i) {
    const int index = all.FindIndex(own(i));
    if (index > 0) {
      found.push_back(index - 1);
    }
  }
  return found;
}

}  // namespace mirel

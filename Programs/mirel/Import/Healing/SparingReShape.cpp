#include <Programs/mirel/Import/Healing/SparingReShape.h>

#include <ShapeExtend.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_TShape.hxx>

namespace mirel {

TopoDS_Shape SparingReShape::Apply(const TopoDS_Shape& shape, TopAbs_ShapeEnum until) {
  if (shape.IsNull() || IsConcerned(shape, until)) {
    return ShapeBuild_ReShape::Apply(shape, until);
  }
  myStatus = ShapeExtend::EncodeStatus(ShapeExtend_OK);
  return shape;
}

void SparingReShape::replace(const TopoDS_Shape& shape, const TopoDS_Shape& replacement,
                             TReplacementKind kind) {
  hasRecords_ = true;
  ShapeBuild_ReShape::replace(shape, replacement, kind);
}

bool SparingReShape::IsConcerned(const TopoDS_Shape& shape, TopAbs_ShapeEnum until) const {
  if (hasRecords_ && IsRecorded(shape)) {
    return true;
  }
  const TopAbs_ShapeEnum kind = shape.ShapeType();
  if (kind >= until || kind == TopAbs_VERTEX) {
    return false;
  }
  for (TopoDS_Iterator part(shape, Standard_False); part.More(); part.Next()) {
    if (IsConcerned(part.Value(), until)) {
      return true;
    }
    part.Value().TShape()->Free(Standard_False);  // as adding it to the copy does
  }
  return false;
}

}  // namespace mirel

#pragma once

#include <ShapeBuild_ReShape.hxx>

namespace mirel {

/// What healing has replaced so far, as OpenCASCADE keeps it, but without copies of what stays as it is.
///
/// OpenCASCADE rebuilds a shape, down to the vertices, to find out whether anything in it was replaced, and throws away what it
/// has built when nothing was. It asks for each wire of a face and each edge of a wire, which was half of the time that healing
/// took. This one looks first.
class SparingReShape : public ShapeBuild_ReShape {
 public:
  using ShapeBuild_ReShape::Apply;

  TopoDS_Shape Apply(const TopoDS_Shape& shape, TopAbs_ShapeEnum until = TopAbs_SHAPE) override;

 protected:
  void replace(const TopoDS_Shape& shape, const TopoDS_Shape& replacement, TReplacementKind kind) override;

 private:
  // Whether the shape or a part of it, of kinds before `until`, was replaced.
  bool IsConcerned(const TopoDS_Shape& shape, TopAbs_ShapeEnum until) const;

  bool hasRecords_ = false;
};

}  // namespace mirel

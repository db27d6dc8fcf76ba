#include <Tests/Programs/mirel/BodyRays.h>

#include <BRepBndLib.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <gp_Lin.hxx>

namespace mirel {

BodyRays::BodyRays(const TopoDS_Shape& body) {
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(body, TopAbs_FACE, faces);
  for (int i = 1; i <= faces.Extent(); ++i) {
    auto face = std::make_unique<Face>();
    face->rays.Load(faces(i), 1e-6);
    BRepBndLib::Add(faces(i), face->box, false);  // of the exact surface, not of triangles
    face->box.Enlarge(1e-3);
    box_.Add(face->box);
    faces_.push_back(std::move(face));
  }
}

void BodyRays::Cast(const gp_Lin& line, double nearest, double farthest, const Visit& visit) {
  if (box_.IsOut(line)) return;
  for (std::size_t i = 0; i < faces_.size(); ++i) {
    Face& face = *faces_[i];
    if (face.box.IsOut(line)) continue;
    face.rays.Perform(line, nearest, farthest);
    for (int k = 1; k <= face.rays.NbPnt(); ++k)
      visit(static_cast<int>(i), face.rays.WParameter(k));
  }
}

}  // namespace mirel

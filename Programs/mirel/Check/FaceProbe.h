#pragma once

#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <Geom_Surface.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Pnt.hxx>
#include <gp_XYZ.hxx>

namespace mirel {

/// Measures how far points are from an exact face, and how far normals there are from its own. Lets OpenCASCADE's
/// exceptions through.
class FaceProbe {
 public:
  explicit FaceProbe(const TopoDS_Face& face);

  /// Whether the face has a surface that can be measured at all; else nothing else may be called.
  bool CanMeasure() const { return !surface_.IsNull(); }

  /// Whether the surface is one that has a formula for its nearest point: measuring takes next to no time then.
  bool IsElementary() const { return CanMeasure() && adaptor_.GetType() <= GeomAbs_Torus; }

  /// The distance of a point from the face, or anything below `enough` when it is less than that.
  double Measure(const gp_Pnt& point, double enough);

  /// By how many radians a unit normal at the point that was measured last is turned away from all normals that the face
  /// has within `reach` of there, pointing out of the material; 0 where that cannot be said, as at the tip of a cone.
  double MeasureTurn(const gp_XYZ& normal, double reach) const;

 private:
  void FindOnElementary(const gp_Pnt& point);
  bool FindNormal(double u, double v, gp_XYZ& normal, gp_XYZ& speeds) const;

  TopoDS_Face face_;
  Handle(Geom_Surface) surface_;
  GeomAdaptor_Surface adaptor_;
  GeomAPI_ProjectPointOnSurf projection_;
  double side_ = 1.0;  // -1 where the normal of the surface points into the material
  bool isFound_ = false;
  double u_ = 0.0;  // the parameters of the point measured last
  double v_ = 0.0;
};

}  // namespace mirel

#include <Programs/mirel/Check/FaceProbe.h>

#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <ElSLib.hxx>
#include <Precision.hxx>
#include <gp_Trsf.hxx>
#include <gp_Vec.hxx>

#include <algorithm>
#include <cmath>
#include <utility>

namespace mirel {

namespace {

// What the rounding of normals to 8 bits may turn, with room for that of positions.
constexpr double kRoundedTurn = 0.05;

// A surface of which the reach covers more than this share is a speck, which has no normals that could be told apart.
constexpr double kMaxShare = 0.125;

double AngleBetween(const gp_XYZ& a, const gp_XYZ& b) {
  return std::atan2((a ^ b).Modulus(), a * b);
}

}  // namespace

FaceProbe::FaceProbe(const TopoDS_Face& face) : face_(face), surface_(BRep_Tool::Surface(face)) {
  if (surface_.IsNull()) {
    return;
  }
  adaptor_.Load(surface_);
  // Where a face is placed by a mirror, what is out of the material stays so.
  const bool isMirrored = face.Location().Transformation().VectorialPart().Determinant() < 0.0;
  side_ = (face.Orientation() == TopAbs_REVERSED) != isMirrored ? -1.0 : 1.0;
  if (IsElementary()) {
    return;
  }
  double u0 = 0.0;
  double u1 = 0.0;
  double v0 = 0.0;
  double v1 = 0.0;
  BRepTools::UVBounds(face, u0, u1, v0, v1);
  const auto isFinite = [](double value) { return std::abs(value) < Precision::Infinite(); };
  if (!isFinite(u0) || !isFinite(u1) || !isFinite(v0) || !isFinite(v1)) {
    surface_.Nullify();
    return;
  }
  projection_.Init(surface_, u0, u1, v0, v1);
}

double FaceProbe::Measure(const gp_Pnt& point, double enough) {
  isFound_ = true;
  if (IsElementary()) {
    FindOnElementary(point);
    return adaptor_.Value(u_, v_).Distance(point);
  }
  projection_.Perform(point);
  const double quick = projection_.NbPoints() > 0 ? projection_.LowerDistance() : INFINITY;
  if (quick <= enough) {
    projection_.LowerDistanceParameters(u_, v_);
    return quick;
  }
  // Projecting finds no point, or a wrong one, at borders; this way takes much longer.
  isFound_ = false;
  const BRepExtrema_DistShapeShape distance(BRepBuilderAPI_MakeVertex(point).Vertex(), face_);
  return distance.IsDone() ? std::min(quick, distance.Value()) : quick;
}

void FaceProbe::FindOnElementary(const gp_Pnt& point) {
  switch (adaptor_.GetType()) {
  case GeomAbs_Plane:
    ElSLib::Parameters(adaptor_.Plane(), point, u_, v_);
    break;
  case GeomAbs_Cylinder:
    ElSLib::Parameters(adaptor_.Cylinder(), point, u_, v_);
    break;
  case GeomAbs_Cone:
    ElSLib::Parameters(adaptor_.Cone(), point, u_, v_);
    break;
  case GeomAbs_Sphere:
    ElSLib::Parameters(adaptor_.Sphere(), point, u_, v_);
    break;
  default:
    ElSLib::Parameters(adaptor_.Torus(), point, u_, v_);
    break;
  }
}

double FaceProbe::MeasureTurn(const gp_XYZ& normal, double reach) const {
  gp_XYZ own;
  gp_XYZ speeds;
  if (!isFound_ || !FindNormal(u_, v_, own, speeds)) {
    return 0.0;
  }
  double allowed = kRoundedTurn;
  if (adaptor_.GetType() != GeomAbs_Plane) {
    const double du = reach / speeds.X();
    const double dv = reach / speeds.Y();
    if (!(du <= kMaxShare * (adaptor_.LastUParameter() - adaptor_.FirstUParameter())) ||
        !(dv <= kMaxShare * (adaptor_.LastVParameter() - adaptor_.FirstVParameter()))) {
      return 0.0;
    }
    for (const auto& [u, v] : {std::pair(u_ - du, v_), {u_ + du, v_}, {u_, v_ - dv}, {u_, v_ + dv}}) {
      gp_XYZ near;
      if (!FindNormal(u, v, near, speeds)) {
        return 0.0;
      }
      allowed = std::max(allowed, kRoundedTurn + AngleBetween(own, near));
    }
  }
  const double turn = AngleBetween(own, normal);
  return turn > allowed ? turn : 0.0;
}

// The normal out of the material, and how fast the point moves with u and v.
bool FaceProbe::FindNormal(double u, double v, gp_XYZ& normal, gp_XYZ& speeds) const {
  gp_Pnt point;
  gp_Vec du;
  gp_Vec dv;
  adaptor_.D1(u, v, point, du, dv);
  speeds = gp_XYZ(du.Magnitude(), dv.Magnitude(), 0.0);
  normal = side_ * (du.XYZ() ^ dv.XYZ());
  const double length = normal.Modulus();
  if (!(std::min(speeds.X(), speeds.Y()) > 1e-12) || !(length > 1e-6 * speeds.X() * speeds.Y())) {
    return false;
  }
  normal /= length;
  return true;
}

}  // namespace mirel

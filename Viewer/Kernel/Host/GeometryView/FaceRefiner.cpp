#include <Viewer/Kernel/Host/GeometryView/FaceRefiner.h>

#include <Viewer/Kernel/Host/Core/WatchedWork.h>

#include <ElSLib.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <gp_Vec.hxx>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace mirel {
namespace {

// Each pass halves what is too long, so the deviation falls to a quarter; surfaces that never come close, because
// they have a spike or their parameters are damaged, end at these limits.
constexpr int kMaxPasses = 8;
constexpr std::size_t kMaxGrowth = 32;
// How far from the middle of its corners a point may lie along the surface, as a share of the way to a corner.
constexpr double kMaxAside = 0.5;

class Refiner {
 public:
  Refiner(const GeomAdaptor_Surface& surface, double deflection, FaceTriangles& face)
      : surface_(surface), deflection_(deflection), face_(face) {}

  // Returns whether something was split.
  bool Pass() {
    FindSides();
    std::vector<std::array<int, 3>> refined;
    refined.reserve(face_.triangles.size());
    for (std::size_t t = 0; t < face_.triangles.size(); ++t)
      Split(face_.triangles[t], &sideOf_[3 * t], refined);
    const bool changed = refined.size() > face_.triangles.size();
    face_.triangles.swap(refined);
    return changed;
  }

 private:
  // Numbers the sides of all triangles and halves those that deviate and belong to two triangles.
  void FindSides() {
    struct Use {
      std::uint64_t ends;
      std::size_t corner;
    };
    std::vector<Use> uses;
    uses.reserve(3 * face_.triangles.size());
    for (std::size_t t = 0; t < face_.triangles.size(); ++t)
      for (std::size_t k = 0; k < 3; ++k) {
        const auto [low, high] = std::minmax(face_.triangles[t][k], face_.triangles[t][(k + 1) % 3]);
        uses.push_back({static_cast<std::uint64_t>(low) << 32 | static_cast<std::uint32_t>(high), 3 * t + k});
      }
    std::sort(uses.begin(), uses.end(), [](const Use& a, const Use& b) {
      return a.ends != b.ends ? a.ends < b.ends : a.corner < b.corner;
    });
    sideOf_.assign(uses.size(), -1);
    for (std::size_t i = 0; i + 1 < uses.size(); ++i) {
      if (uses[i].ends != uses[i + 1].ends) continue;
      const int a = static_cast<int>(uses[i].ends >> 32), b = static_cast<int>(uses[i].ends & 0xFFFFFFFFu);
      const int middle = MiddleIfTooFar({a, b});
      sideOf_[uses[i].corner] = sideOf_[uses[i + 1].corner] = middle;
      ++i;
    }
  }

  // Adds the point of the surface amid some points if their own middle is farther from the surface than it may be.
  int MiddleIfTooFar(std::initializer_list<int> corners) {
    gp_XY uv;
    gp_XYZ middle;
    for (int corner : corners) {
      uv += face_.parameters[static_cast<std::size_t>(corner)].XY();
      middle += face_.points[static_cast<std::size_t>(corner)].XYZ();
    }
    uv /= static_cast<double>(corners.size());
    middle /= static_cast<double>(corners.size());
    gp_Pnt point;
    gp_Vec du, dv;
    surface_.D1(uv.X(), uv.Y(), point, du, dv);
    // What counts is the distance along the normal: parameters need not be spread evenly, on a plane for example.
    const gp_XYZ normal = du.XYZ() ^ dv.XYZ(), offset = point.XYZ() - middle;
    const double length = normal.Modulus();
    double off = length > 0.0 ? std::abs(offset * normal) / length : 0.0;
    const double aside = std::sqrt(std::max(0.0, offset.SquareModulus() - off * off));
    const double reach = (face_.points[static_cast<std::size_t>(*corners.begin())].XYZ() - middle).Modulus();
    if (aside > kMaxAside * reach ||
        std::any_of(corners.begin(), corners.end(), [&](int i) { return IsPole(i); })) {
      // A point far from the middle of its corners would turn triangles over.
      if (!Project(middle, uv)) return -1;
      point = surface_.Value(uv.X(), uv.Y());
      off = point.Distance(gp_Pnt(middle));
    }
    if (!(off > deflection_)) return -1;
    face_.points.push_back(point);
    face_.parameters.emplace_back(uv);
    return static_cast<int>(face_.points.size() - 1);
  }

  // Whether all parameters of one direction lead to this point: what lies amid them says nothing then.
  bool IsPole(int corner) const {
    const gp_Pnt2d& uv = face_.parameters[static_cast<std::size_t>(corner)];
    gp_Pnt point;
    gp_Vec du, dv;
    surface_.D1(uv.X(), uv.Y(), point, du, dv);
    return std::min(du.Magnitude(), dv.Magnitude()) <= 1e-9 * std::max(du.Magnitude(), dv.Magnitude());
  }

  // The parameters of the nearest point on surfaces that have a formula for it; false on others.
  bool Project(const gp_XYZ& point, gp_XY& uv) const {
    double u, v;
    switch (surface_.GetType()) {
    case GeomAbs_Cylinder:
      ElSLib::Parameters(surface_.Cylinder(), gp_Pnt(point), u, v);
      break;
    case GeomAbs_Cone:
      ElSLib::Parameters(surface_.Cone(), gp_Pnt(point), u, v);
      break;
    case GeomAbs_Sphere:
      ElSLib::Parameters(surface_.Sphere(), gp_Pnt(point), u, v);
      break;
    case GeomAbs_Torus:
      ElSLib::Parameters(surface_.Torus(), gp_Pnt(point), u, v);
      break;
    default:
      return false;
    }
    uv = gp_XY(u, v);
    return true;
  }

  void Split(const std::array<int, 3>& corners, const int* sides, std::vector<std::array<int, 3>>& out) {
    const auto count = 3 - std::count(sides, sides + 3, -1);
    if (count == 0) {
      const int centre = MiddleIfTooFar({corners[0], corners[1], corners[2]});
      if (centre < 0)
        out.push_back(corners);
      else
        for (std::size_t k = 0; k < 3; ++k)
          out.push_back({corners[k], corners[(k + 1) % 3], centre});
      return;
    }
    // Turned so that the side from a to b is split, and the one from c to a is only if all are.
    std::size_t k = 0;
    while (sides[k] < 0 || (count == 2 && sides[(k + 2) % 3] >= 0))
      ++k;
    const int a = corners[k], b = corners[(k + 1) % 3], c = corners[(k + 2) % 3];
    const int ab = sides[k], bc = sides[(k + 1) % 3], ca = sides[(k + 2) % 3];
    if (count == 1) {
      out.insert(out.end(), {{a, ab, c}, {ab, b, c}});
    } else if (count == 2) {
      out.insert(out.end(), {{ab, b, bc}, {a, ab, bc}, {a, bc, c}});
    } else {
      out.insert(out.end(), {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
    }
  }

  const GeomAdaptor_Surface& surface_;
  double deflection_;
  FaceTriangles& face_;
  std::vector<int> sideOf_;  // the point that halves each side of each triangle, or -1
};

}  // namespace

void RefineFace(const GeomAdaptor_Surface& surface, double deflection, FaceTriangles& face,
                WorkState& state) {
  if (surface.GetType() == GeomAbs_Plane || face.parameters.size() != face.points.size()) return;
  Refiner refiner(surface, deflection, face);
  const std::size_t limit = kMaxGrowth * face.triangles.size();
  for (int pass = 0; pass < kMaxPasses && face.triangles.size() < limit && !state.IsStopped(); ++pass) {
    if (!refiner.Pass()) return;
    state.Step();
  }
}

}  // namespace mirel

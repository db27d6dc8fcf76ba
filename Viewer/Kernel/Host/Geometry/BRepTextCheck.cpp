#include <Viewer/Kernel/Host/Geometry/BRepTextCheck.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Geometry/BRepTextLexer.h>

#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_OffsetCurve.hxx>
#include <Geom2d_TrimmedCurve.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_OffsetCurve.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Standard_Failure.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_Array1OfPnt2d.hxx>
#include <gp.hxx>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace mirel {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kInfinity = 2e100;  // the parameter at the end of an unbounded curve or surface

// OpenCASCADE normalises directions whenever it makes them, so that written ones are off by 1e-15 at most.
constexpr double kUnitTolerance = 1e-6;
// Placements are written with 15 digits and may be the product of many.
constexpr double kPlacementTolerance = 1e-4;
// By how much OpenCASCADE lets a trim reach beyond its basis.
constexpr double kTrimTolerance = 1e-7 / 100.0;  // written as there, so that both round alike

// The first line of each format version.
constexpr const char* kHeaders[] = {"CASCADE Topology V1, (c) Matra-Datavision",
                                    "CASCADE Topology V2, (c) Matra-Datavision",
                                    "CASCADE Topology V3, (c) Open Cascade"};

enum CurveKind { kLine = 1, kCircle, kEllipse, kParabola, kHyperbola, kBezier, kBSpline, kTrimmed, kOffset };
enum SurfaceKind {
  kPlane = 1,
  kCylinder,
  kCone,
  kSphere,
  kTorus,
  kExtrusion,
  kRevolution,
  kBezierSurface,
  kBSplineSurface,
  kRectangular,
  kOffsetSurface
};

// In the order of the table of what may contain what.
enum ShapeKind : std::uint8_t {
  kCompound,
  kCompSolid,
  kSolid,
  kShell,
  kFace,
  kWire,
  kEdge,
  kVertex,
  kNoShape
};

// Bit k of kContainers[c]: a shape of kind k may hold one of kind c.
constexpr unsigned kContainers[] = {1u << kCompound,                               // compound
                                    1u << kCompound,                               // composite solid
                                    1u << kCompound | 1u << kCompSolid,            // solid
                                    1u << kCompound | 1u << kSolid,                // shell
                                    1u << kCompound | 1u << kShell,                // face
                                    1u << kCompound | 1u << kFace,                 // wire
                                    1u << kCompound | 1u << kSolid | 1u << kWire,  // edge
                                    1u << kCompound | 1u << kSolid | 1u << kFace | 1u << kEdge};  // vertex

struct Range {
  double first = -kInfinity;
  double last = kInfinity;
  bool periodic = false;
};

struct CurveInfo {
  unsigned kind = 0;
  Range range;
  // Of the B-spline at the bottom, if periodic: OpenCASCADE brings parameters into this range step by step.
  double loopFirst = 0.0;
  double loopPeriod = 0.0;
  bool overOffset = false;  // an offset curve, or a trimmed one
};

struct SurfaceInfo {
  unsigned kind = 0;
  Range u, v;
  Range basisU, basisV;     // without trims, for surfaces that the constructors look through
  bool overOffset = false;  // an offset surface, or a trimmed one
};

struct Loop {
  double first = 0.0;
  double period = 0.0;  // 0: none
};

// Of the curves of one table all that shapes need to know: how many there are, and which of them are loops.
struct CurveTable {
  std::uint32_t count = 0;
  std::map<std::uint32_t, Loop> loops;

  Loop LoopOf(std::uint32_t index) const {
    if (loops.empty()) return {};
    const auto found = loops.find(index);
    return found == loops.end() ? Loop{} : found->second;
  }
};

struct ShapeInfo {
  ShapeKind kind = kNoShape;
  bool used = false;
  std::uint16_t depth = 1;
  std::uint32_t chain = 0;     // most placement factors on the way to a sub-shape
  std::uint64_t unfolded = 1;  // shapes and factors of placements met in a walk from here
};

struct Vector {
  double x = 0.0, y = 0.0, z = 0.0;
};
double Dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

struct Spline {
  std::vector<Vector> poles;
  std::vector<double> weights;
  std::vector<double> knots;
  std::vector<int> multiplicities;
  int degree = 0;
  bool periodic = false;
};

// Whether OpenCASCADE's constructor takes a B-spline, trimmed to `range`, as the basis of an offset curve. It refuses those
// with a corner, of a bend of 1e-12 rad on, which is less than what rounding leaves of some smooth ones: only it knows.
bool CanBeOffset(const Spline& spline, int dimension, const Range& range) {
  if (spline.poles.empty()) return true;
  const auto count = static_cast<int>(spline.poles.size());
  const auto knotCount = static_cast<int>(spline.knots.size());
  const TColStd_Array1OfReal weights(spline.weights.front(), 1, count);
  const TColStd_Array1OfReal knots(spline.knots.front(), 1, knotCount);
  const TColStd_Array1OfInteger multiplicities(spline.multiplicities.front(), 1, knotCount);
  TColgp_Array1OfPnt poles(1, count);
  TColgp_Array1OfPnt2d flat(1, count);
  for (int i = 1; i <= count; ++i) {
    const Vector& pole = spline.poles[static_cast<std::size_t>(i - 1)];
    poles(i).SetCoord(pole.x, pole.y, pole.z);
    flat(i).SetCoord(pole.x, pole.y);
  }
  try {
    if (dimension == 2) {
      Handle(Geom2d_Curve) basis =
          new Geom2d_BSplineCurve(flat, weights, knots, multiplicities, spline.degree, spline.periodic);
      if (!range.periodic) basis = new Geom2d_TrimmedCurve(basis, range.first, range.last);
      const Handle(Geom2d_Curve) offset = new Geom2d_OffsetCurve(basis, 1.0);
    } else {
      Handle(Geom_Curve) basis =
          new Geom_BSplineCurve(poles, weights, knots, multiplicities, spline.degree, spline.periodic);
      if (!range.periodic) basis = new Geom_TrimmedCurve(basis, range.first, range.last);
      const Handle(Geom_Curve) offset = new Geom_OffsetCurve(basis, 1.0, gp::DZ());
    }
    return true;
  } catch (const Standard_Failure&) {
    return false;
  }
}

class Checker {
 public:
  Checker(const char* data, std::size_t size, BRepTextOrigin origin)
      : lexer_(data, size), isFile_(origin == BRepTextOrigin::kFile) {}

  BRepTextResult Run() {
    if (Tables() && Shapes() && Root()) return {nullptr, lexer_.Position()};
    return {lexer_.Reason(), lexer_.Offset()};
  }

 private:
  bool Tables() {
    return Header() && Locations() && Curves(2) && Curves(3) && Polygons3D() && PolygonsOnTriangulation() &&
           Surfaces() && Triangulations();
  }

  bool Fail(const char* reason) { return lexer_.Fail(reason); }

  // The reader takes lines until one is the header.
  bool Header() {
    unsigned lines;
    if (!lexer_.SkipBlank(lines)) return false;
    const bool isFirst = lines == lexer_.Position();
    for (version_ = 3; isFirst && version_ > (isFile_ ? 0 : 2); --version_)
      if (lexer_.Line(kHeaders[version_ - 1])) return true;
    return lexer_.Fail(isFile_ ? "The text does not start as BRep text of format versions 1 to 3 does"
                               : "The text does not start as BRep text of format version 3 does",
                       lexer_.Position());
  }

  // --- Placements

  bool Locations() {
    std::uint32_t count;
    if (!lexer_.Word("Locations", "The section of placements is missing") || !lexer_.Count(8, count))
      return false;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t kind;
      if (!lexer_.Number(2, kind, "A placement has an unknown kind")) return false;
      if (kind == 1 ? !Matrix() : kind == 2 ? !Product() : !Fail("A placement has an unknown kind"))
        return false;
    }
    return true;
  }

  bool Matrix() {
    double m[3][4];
    for (auto& row : m) {
      for (double& value : row) {
        if (!lexer_.Finite(value)) return false;
      }
    }
    const Vector x{m[0][0], m[1][0], m[2][0]};
    const Vector y{m[0][1], m[1][1], m[2][1]};
    const Vector z{m[0][2], m[1][2], m[2][2]};
    const double scale = Dot(x, x);
    // Negated, so that a scale of zero fails too; a mirrored placement is fine.
    const double tolerance = kPlacementTolerance * scale;
    if (!(scale > 1e-30 && std::fabs(Dot(y, y) - scale) < tolerance &&
          std::fabs(Dot(z, z) - scale) < tolerance && std::fabs(Dot(x, y)) < tolerance &&
          std::fabs(Dot(y, z)) < tolerance && std::fabs(Dot(z, x)) < tolerance))
      return Fail("A placement distorts");
    placements_.push_back({1, false});
    return true;
  }

  // OpenCASCADE keeps products in lowest terms. Any other might cancel out or equal an earlier one; it would
  // then not be stored, and all later indices would point at the wrong placement.
  bool Product() {
    std::vector<std::pair<std::uint32_t, int>> factors;
    for (;;) {
      std::uint32_t index;
      if (!lexer_.Number(static_cast<std::uint32_t>(placements_.size()), index,
                         "A placement refers to one that does not come before it"))
        return false;
      if (index == 0) break;
      BRepTextLexer::Token token;
      std::uint32_t power;
      if (!lexer_.Next(token)) return false;
      const unsigned negative = token.text[0] == '-';
      if (!lexer_.ParseNumber(token, negative, kMaxBRepPlacementPower, power,
                              "The power of a placement is too large"))
        return false;
      if (placements_[index - 1].isProduct) return Fail("A placement is a product of products");
      if (power == 0 || (!factors.empty() && index == factors.back().first))
        return Fail("A product of placements is not in lowest terms");
      if (factors.size() == kMaxBRepPlacementChain) return Fail("A placement has too many factors");
      factors.emplace_back(index, negative ? -static_cast<int>(power) : static_cast<int>(power));
    }
    if (factors.empty() || (factors.size() == 1 && factors[0].second == 1))
      return Fail("A product of placements is not in lowest terms");
    placementSteps_ += std::uint64_t{factors.size()} * factors.size();
    if (placementSteps_ > kMaxBRepPlacementSteps) return Fail("The placements have too many factors");
    placements_.push_back({static_cast<std::uint16_t>(factors.size()), true});
    return products_.insert(std::move(factors)).second || Fail("A placement occurs twice");
  }

  // --- Directions

  bool Direction(int dimension, Vector& direction) {
    direction.z = 0.0;
    if (!lexer_.Component(direction.x) || !lexer_.Component(direction.y) ||
        (dimension == 3 && !lexer_.Component(direction.z)))
      return false;
    return std::fabs(Dot(direction, direction) - 1.0) < kUnitTolerance ||
           Fail("A direction is not of length 1");
  }
  bool Point(int dimension) { return lexer_.Finite(static_cast<std::size_t>(dimension)); }

  // A point and the axes of its system: of a plane curve X and Y, in space Z, X and Y.
  bool Axes(int dimension) {
    Vector x, y, z;
    if (!Point(dimension) || (dimension == 3 && !Direction(3, z)) || !Direction(dimension, x) ||
        !Direction(dimension, y))
      return false;
    const bool perpendicular = std::fabs(Dot(x, y)) < kUnitTolerance &&
                               std::fabs(Dot(x, z)) < kUnitTolerance && std::fabs(Dot(y, z)) < kUnitTolerance;
    return perpendicular || Fail("The axes of a system are not perpendicular");
  }

  bool Radius() { return lexer_.NotNegative("A radius is negative"); }
  bool Radius(double& radius) {
    return lexer_.Finite(radius) && (radius >= 0.0 || Fail("A radius is negative"));
  }

  // --- Curves

  bool Curves(int dimension) {
    std::uint32_t count;
    if (!(dimension == 2 ? lexer_.Word("Curve2ds", "The section of plane curves is missing")
                         : lexer_.Word("Curves", "The section of curves is missing")) ||
        !lexer_.Count(10, count))
      return false;
    CurveTable& table = dimension == 2 ? curves2d_ : curves3d_;
    for (table.count = 0; table.count < count;) {
      CurveInfo info;
      if (!Curve(dimension, 1, false, info)) return false;
      ++table.count;
      if (info.loopPeriod != 0.0) table.loops[table.count] = {info.loopFirst, info.loopPeriod};
    }
    return true;
  }

  // `underOffset`: an offset is built upon the curve, so that corners matter.
  bool Curve(int dimension, unsigned depth, bool underOffset, CurveInfo& info) {
    if (depth > kMaxBRepGeometryDepth) return Fail("Curves and surfaces are nested too deep");
    std::uint32_t kind;
    if (!lexer_.Index(kOffset, kind, "A curve is of an unknown kind")) return false;
    info.kind = kind;
    double first, second;
    Vector direction;
    switch (kind) {
    case kLine:
      return Point(dimension) && Direction(dimension, direction);
    case kCircle:
      info.range = {0.0, 2.0 * kPi, true};
      return Axes(dimension) && Radius();
    case kEllipse:
      info.range = {0.0, 2.0 * kPi, true};
      return Axes(dimension) && Radius(first) && Radius(second) &&
             (first >= second || Fail("An ellipse has its radii in the wrong order"));
    case kParabola:
      return Axes(dimension) && Radius();
    case kHyperbola:
      return Axes(dimension) && Radius() && Radius();
    case kBezier:
      info.range = {0.0, 1.0, false};
      return BezierCurve(dimension);
    case kBSpline:
      return BSplineCurve(dimension, underOffset, info);
    case kTrimmed:
      return TrimmedCurve(dimension, depth, underOffset, info);
    default:
      return OffsetCurve(dimension, depth, info);
    }
  }

  bool Degree(std::uint32_t& degree) {
    return lexer_.Index(kMaxBRepDegree, degree, "A degree is not between 1 and 25");
  }

  bool Weight(double& weight) {
    return lexer_.Finite(weight) &&
           (weight > std::numeric_limits<double>::min() || Fail("A weight is not positive"));
  }

  bool PoleCount(int dimension, std::uint64_t count, bool rational) {
    const auto numbers = static_cast<std::size_t>(dimension) + rational;
    return count <= lexer_.Remaining() / (2 * numbers) ||
           Fail("A curve or surface has more poles than the remaining text can hold");
  }
  bool Poles(int dimension, std::uint64_t count, bool rational) {
    if (!PoleCount(dimension, count, rational)) return false;
    if (!rational)
      return lexer_.Finite(static_cast<std::size_t>(count) * static_cast<std::size_t>(dimension));
    for (std::uint64_t i = 0; i < count; ++i) {
      double weight;
      if (!Point(dimension) || !Weight(weight)) return false;
    }
    return true;
  }

  bool BezierCurve(int dimension) {
    bool rational;
    std::uint32_t degree;
    return lexer_.Flag(rational, "The flag for weights is neither 0 nor 1") && Degree(degree) &&
           Poles(dimension, degree + 1u, rational);
  }

  // Knots and multiplicities of one parameter.
  bool Knots(std::uint32_t degree, std::uint32_t poles, std::uint32_t count, bool periodic, Range& range,
             Spline* kept = nullptr) {
    // OpenCASCADE builds a B-spline with fewer poles, and reads beside its arrays later.
    if (!periodic && poles < degree + 1) return Fail("A B-spline has fewer poles than its degree needs");
    std::uint64_t sum = 0;
    std::uint32_t firstMultiplicity = 0;
    double previous = 0.0;
    bool started = false;
    bool ended = false;
    range.periodic = periodic;
    for (std::uint32_t i = 0; i < count; ++i) {
      double knot;
      std::uint32_t multiplicity;
      if (!lexer_.Finite(knot)) return false;
      if (i != 0 && !(knot - previous > Ulp(previous))) return Fail("The knots of a B-spline do not rise");
      const bool isEnd = i == 0 || i + 1 == count;
      const std::uint32_t most = isEnd && !periodic ? degree + 1 : degree;
      if (!lexer_.Index(most, multiplicity,
                        "A knot's multiplicity is not between 1 and what the degree allows"))
        return false;
      sum += multiplicity;
      if (i == 0) firstMultiplicity = multiplicity;
      if (periodic ? i == 0 : !started && sum > degree) {
        range.first = knot;
        started = true;
      }
      if (periodic ? i + 1 == count : !ended && sum > poles) {
        range.last = knot;
        ended = true;
      }
      if (periodic && i + 1 == count && multiplicity != firstMultiplicity)
        return Fail("The end knots of a periodic B-spline differ in multiplicity");
      if (kept) {
        kept->knots.push_back(knot);
        kept->multiplicities.push_back(static_cast<int>(multiplicity));
      }
      previous = knot;
    }
    if (periodic ? sum - firstMultiplicity != poles : sum != std::uint64_t{poles} + degree + 1)
      return Fail("The multiplicities of a B-spline do not match its poles");
    if (!(range.first < range.last)) return Fail("A B-spline has an empty range");
    // OpenCASCADE continues the knots by degree + 1 - multiplicity on both sides, out of the knots that there
    // are.
    if (periodic && degree + 1 > poles + firstMultiplicity)
      return Fail("A periodic B-spline has fewer poles than its degree needs");
    return true;
  }

  static double Ulp(double value) {
    const double size = std::fabs(value);
    return std::nextafter(size, std::numeric_limits<double>::max()) - size;
  }

  bool BSplineCurve(int dimension, bool underOffset, CurveInfo& info) {
    bool rational, periodic;
    std::uint32_t degree, poles, knots;
    if (!lexer_.Flag(rational, "The flag for weights is neither 0 nor 1") ||
        !lexer_.Flag(periodic, "The flag for periodic is neither 0 nor 1") || !Degree(degree) ||
        !lexer_.Count(4, poles) || !lexer_.Count(4, knots))
      return false;
    if (poles < 2 || knots < 2) return Fail("A B-spline has fewer than two poles or knots");
    if (!(underOffset ? KeptPoles(dimension, poles, rational) : Poles(dimension, poles, rational)) ||
        !Knots(degree, poles, knots, periodic, info.range, underOffset ? &underOffset_ : nullptr))
      return false;
    underOffset_.degree = static_cast<int>(degree);
    underOffset_.periodic = periodic;
    if (periodic) {
      info.loopFirst = info.range.first;
      info.loopPeriod = info.range.last - info.range.first;
    }
    return true;
  }

  bool KeptPoles(int dimension, std::uint32_t count, bool rational) {
    if (!PoleCount(dimension, count, rational)) return false;
    for (std::uint32_t i = 0; i < count; ++i) {
      Vector pole;
      double weight = 1.0;
      if (!lexer_.Finite(pole.x) || !lexer_.Finite(pole.y) || (dimension == 3 && !lexer_.Finite(pole.z)) ||
          (rational && !Weight(weight)))
        return false;
      underOffset_.poles.push_back(pole);
      underOffset_.weights.push_back(weight);
    }
    return true;
  }

  bool TrimmedCurve(int dimension, unsigned depth, bool underOffset, CurveInfo& info) {
    double first, last;
    if (!lexer_.Finite(first) || !lexer_.Finite(last) || !Curve(dimension, depth + 1, underOffset, info))
      return false;
    if (info.kind == kTrimmed) return Fail("A trimmed curve is trimmed again");
    info.overOffset = info.kind == kOffset;
    info.kind = kTrimmed;
    return Trim(first, last, info.range);
  }

  // As OpenCASCADE sets a trim; `range` goes in as the basis's and comes out as the trimmed one. It would
  // reverse the basis for a trim that runs backwards, but never writes one.
  bool Trim(double first, double last, Range& range) {
    if (first == last || (!range.periodic && first > last)) return Fail("A trim is empty or runs backwards");
    if (range.periodic) {
      const double reach = kMaxBRepTurns * (range.last - range.first);
      if (std::fabs(first - range.first) > reach || std::fabs(last - range.first) > reach)
        return Fail("A trim is too many turns away from its basis");
      AdjustPeriodic(range, first, last);
    } else if (range.first - first > kTrimTolerance || last - range.last > kTrimTolerance) {
      return Fail("A trim reaches beyond its basis");
    }
    range = {first, last, false};
    return true;
  }

  static void AdjustPeriodic(const Range& range, double& first, double& last) {
    if (std::fabs(range.first) >= kMinBRepInfinity || std::fabs(range.last) >= kMinBRepInfinity) {
      first = range.first;
      last = range.last;
      return;
    }
    const double tolerance = std::min(std::fabs(last - first) / 2.0, kTrimTolerance);
    const double period = range.last - range.first;
    first -= std::floor((first - range.first) / period) * period;
    if (range.last - first < tolerance) first -= period;
    last -= std::floor((last - first) / period) * period;
    if (last - first < tolerance) last += period;
  }

  bool OffsetCurve(int dimension, unsigned depth, CurveInfo& info) {
    Vector direction;
    underOffset_ = {};
    if (!lexer_.Finite() || (dimension == 3 && !Direction(3, direction)) ||
        !Curve(dimension, depth + 1, true, info))
      return false;
    if (info.kind == kOffset || info.overOffset) return Fail("An offset curve is offset again");
    info.kind = kOffset;
    return CanBeOffset(underOffset_, dimension, info.range) || Fail("A curve with a corner is offset");
  }

  // --- Polygons

  bool Polygons3D() {
    std::uint32_t count;
    if (!lexer_.Word("Polygon3D", "The section of polygons is missing") || !lexer_.Count(12, count))
      return false;
    polygons3d_ = count;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t nodes;
      bool hasParameters;
      if (!lexer_.Count(6, nodes) ||
          !lexer_.Flag(hasParameters, "The flag for parameters is neither 0 nor 1"))
        return false;
      if (nodes == 0) return Fail("A polygon has no nodes");
      const std::size_t numbers = std::size_t{nodes} * (hasParameters ? 4 : 3);
      if (!lexer_.Finite() || !lexer_.Finite(numbers)) return false;
    }
    return true;
  }

  bool PolygonsOnTriangulation() {
    std::uint32_t count;
    if (!lexer_.Word("PolygonOnTriangulations", "The section of polygons on triangulations is missing") ||
        !lexer_.Count(10, count))
      return false;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t nodes;
      if (!lexer_.Count(2, nodes)) return false;
      if (nodes == 0) return Fail("A polygon has no nodes");
      std::uint32_t largest = 0;
      bool hasParameters;
      if (!lexer_.Indices(nodes, 0x7FFFFFFFu, largest, "A polygon's node is out of range") ||
          !lexer_.Word("p", "A polygon's parameters are missing") || !lexer_.Finite() ||
          !lexer_.Flag(hasParameters, "The flag for parameters is neither 0 nor 1") ||
          (hasParameters && !lexer_.Finite(nodes)))
        return false;
      polygonNodes_.push_back(largest);
    }
    return true;
  }

  bool Triangulations() {
    std::uint32_t count;
    if (!lexer_.Word("Triangulations", "The section of triangulations is missing") ||
        !lexer_.Count(22, count))
      return false;
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t nodes, triangles, largest;
      bool hasUv, hasNormals = false;
      if (!lexer_.Count(6, nodes) || !lexer_.Count(6, triangles) ||
          !lexer_.Flag(hasUv, "The flag for UV nodes is neither 0 nor 1") ||
          (version_ >= 3 && !lexer_.Flag(hasNormals, "The flag for normals is neither 0 nor 1")))
        return false;
      if (nodes == 0 || triangles == 0) return Fail("A triangulation is empty");
      if (!lexer_.Finite() || !lexer_.Finite(std::size_t{nodes} * (hasUv ? 5 : 3)) ||
          !lexer_.Indices(std::size_t{triangles} * 3, nodes, largest, "A triangle's node is out of range") ||
          (hasNormals && !Normals(std::size_t{nodes} * 3)))
        return false;
      triangulationNodes_.push_back(nodes);
    }
    return true;
  }

  // OpenCASCADE keeps them in single precision.
  bool Normals(std::size_t count) {
    for (double value; count > 0; --count) {
      if (!lexer_.Finite(value)) return false;
      if (std::fabs(value) > std::numeric_limits<float>::max()) return Fail("A normal is too large");
    }
    return true;
  }

  // --- Surfaces

  bool Surfaces() {
    std::uint32_t count;
    if (!lexer_.Word("Surfaces", "The section of surfaces is missing") || !lexer_.Count(16, count))
      return false;
    surfaces_ = count;
    for (std::uint32_t i = 0; i < count; ++i) {
      SurfaceInfo info;
      if (!Surface(1, info)) return false;
    }
    return true;
  }

  bool Surface(unsigned depth, SurfaceInfo& info) {
    if (depth > kMaxBRepGeometryDepth) return Fail("Curves and surfaces are nested too deep");
    std::uint32_t kind;
    if (!lexer_.Index(kOffsetSurface, kind, "A surface is of an unknown kind")) return false;
    info.kind = kind;
    double first, second;
    Vector direction;
    CurveInfo curve;
    const Range turn{0.0, 2.0 * kPi, true};
    switch (kind) {
    case kPlane:
      if (!Axes(3)) return false;
      break;
    case kCylinder:
      info.u = turn;
      if (!Axes(3) || !Radius()) return false;
      break;
    case kCone:
      info.u = turn;
      if (!Axes(3) || !Radius(first) || !lexer_.Finite(second)) return false;
      if (!(std::fabs(second) > std::numeric_limits<double>::min() && std::fabs(second) < kPi / 2.0))
        return Fail("A cone's half angle is not between 0 and a right angle");
      break;
    case kSphere:
      info.u = turn;
      info.v = {-kPi / 2.0, kPi / 2.0, false};
      if (!Axes(3) || !Radius()) return false;
      break;
    case kTorus:
      info.u = info.v = turn;
      if (!Axes(3) || !Radius() || !Radius()) return false;
      break;
    case kExtrusion:
      if (!Direction(3, direction) || !Curve(3, depth + 1, false, curve)) return false;
      info.u = curve.range;
      break;
    case kRevolution:
      info.u = turn;
      if (!Point(3) || !Direction(3, direction) || !Curve(3, depth + 1, false, curve)) return false;
      info.v = curve.range;
      break;
    case kBezierSurface:
      info.u = info.v = {0.0, 1.0, false};
      if (!BezierSurface()) return false;
      break;
    case kBSplineSurface:
      if (!BSplineSurface(info)) return false;
      break;
    case kRectangular:
      return RectangularSurface(depth, info);
    default:
      return OffsetSurface(depth, info);
    }
    info.basisU = info.u;
    info.basisV = info.v;
    return true;
  }

  bool BezierSurface() {
    bool uRational, vRational;
    std::uint32_t uDegree, vDegree;
    return lexer_.Flag(uRational, "The flag for weights is neither 0 nor 1") &&
           lexer_.Flag(vRational, "The flag for weights is neither 0 nor 1") && Degree(uDegree) &&
           Degree(vDegree) && Poles(3, std::uint64_t{uDegree + 1} * (vDegree + 1), uRational || vRational);
  }

  bool BSplineSurface(SurfaceInfo& info) {
    bool uRational, vRational, uPeriodic, vPeriodic;
    std::uint32_t uDegree, vDegree, uPoles, vPoles, uKnots, vKnots;
    if (!lexer_.Flag(uRational, "The flag for weights is neither 0 nor 1") ||
        !lexer_.Flag(vRational, "The flag for weights is neither 0 nor 1") ||
        !lexer_.Flag(uPeriodic, "The flag for periodic is neither 0 nor 1") ||
        !lexer_.Flag(vPeriodic, "The flag for periodic is neither 0 nor 1") || !Degree(uDegree) ||
        !Degree(vDegree) || !lexer_.Count(6, uPoles) || !lexer_.Count(6, vPoles) ||
        !lexer_.Count(4, uKnots) || !lexer_.Count(4, vKnots))
      return false;
    if (uPoles < 2 || vPoles < 2 || uKnots < 2 || vKnots < 2)
      return Fail("A B-spline has fewer than two poles or knots");
    return Poles(3, std::uint64_t{uPoles} * vPoles, uRational || vRational) &&
           Knots(uDegree, uPoles, uKnots, uPeriodic, info.u) &&
           Knots(vDegree, vPoles, vKnots, vPeriodic, info.v);
  }

  bool RectangularSurface(unsigned depth, SurfaceInfo& info) {
    double u1, u2, v1, v2;
    if (!lexer_.Finite(u1) || !lexer_.Finite(u2) || !lexer_.Finite(v1) || !lexer_.Finite(v2) ||
        !Surface(depth + 1, info))
      return false;
    if (info.kind == kRectangular) return Fail("A trimmed surface is trimmed again");
    info.overOffset = info.kind == kOffsetSurface;
    info.kind = kRectangular;
    if (!info.overOffset) return Trim(u1, u2, info.u) && Trim(v1, v2, info.v);
    // Under an offset, the constructor trims the offset's basis first and then the offset by the result.
    info.u = info.basisU;
    info.v = info.basisV;
    return Trim(u1, u2, info.u) && Trim(v1, v2, info.v) && Trim(u1, u2, info.u) && Trim(v1, v2, info.v);
  }

  bool OffsetSurface(unsigned depth, SurfaceInfo& info) {
    if (!lexer_.Finite() || !Surface(depth + 1, info)) return false;
    if (info.kind == kOffsetSurface || info.overOffset) return Fail("An offset surface is offset again");
    info.kind = kOffsetSurface;
    return true;
  }

  // --- Shapes

  bool Placement(std::uint32_t& index) {
    index = 0;
    return lexer_.Accept("0 ") || lexer_.Number(static_cast<std::uint32_t>(placements_.size()), index,
                                                "A shape refers to a placement that does not exist");
  }
  bool CurveIndex(std::uint32_t& index) {
    return lexer_.Index(curves3d_.count, index, "A shape refers to a curve that does not exist");
  }
  bool PlaneCurveIndex(std::uint32_t& index) {
    return lexer_.Index(curves2d_.count, index, "A shape refers to a plane curve that does not exist");
  }
  bool SurfaceIndex(std::uint32_t& index) {
    return lexer_.Index(surfaces_, index, "A shape refers to a surface that does not exist");
  }
  bool TriangulationIndex(std::uint32_t& index) {
    return lexer_.Index(static_cast<std::uint32_t>(triangulationNodes_.size()), index,
                        "A shape refers to a triangulation that does not exist");
  }
  bool PolygonIndex(std::uint32_t& index) {
    return lexer_.Index(static_cast<std::uint32_t>(polygonNodes_.size()), index,
                        "An edge refers to a polygon that does not exist");
  }

  bool Shapes() {
    std::uint32_t count;
    if (!lexer_.Word("TShapes", "The section of shapes is missing") || !lexer_.Count(14, count)) return false;
    if (count == 0) return Fail("The text holds no shape");
    shapeCount_ = count;
    shapes_.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      ShapeInfo shape;
      if (!Kind(shape.kind) || !Geometry(shape.kind) || !Flags() || !SubShapes(shape)) return false;
      shapes_.push_back(shape);
    }
    return true;
  }

  bool Kind(ShapeKind& kind) {
    BRepTextLexer::Token token;
    if (!lexer_.Next(token)) return false;
    // Roughly by how many there are of each.
    static constexpr char kNames[] = "EdVeWiFaShSoCoCS";
    static constexpr ShapeKind kKinds[] = {kEdge,  kVertex, kWire,     kFace,
                                           kShell, kSolid,  kCompound, kCompSolid};
    for (unsigned i = 0; token.length == 2 && i < kNoShape; ++i) {
      if (std::memcmp(token.text, kNames + 2 * i, 2) != 0) continue;
      kind = kKinds[i];
      return true;
    }
    return Fail("A shape is of an unknown kind");
  }

  bool Geometry(ShapeKind kind) {
    return kind == kVertex ? Vertex() : kind == kEdge ? Edge() : kind == kFace ? Face() : true;
  }

  bool Tolerance() { return lexer_.Accept("1e-07 ") || lexer_.Accept("1e-07\n") || lexer_.Finite(); }

  bool Vertex() {
    if (!Tolerance()) return false;
    for (int i = 0; i < 3; ++i) {
      if (!lexer_.Finite()) return false;
    }
    for (;;) {
      if (lexer_.Accept("0 0\n")) return true;
      std::uint32_t kind, index;
      if (!lexer_.Finite() || !lexer_.Number(3, kind, "A vertex has a point of an unknown kind"))
        return false;
      if (kind == 0) return true;
      const bool good = kind == 1   ? CurveIndex(index)
                        : kind == 2 ? PlaneCurveIndex(index) && SurfaceIndex(index)
                                    : lexer_.Finite() && SurfaceIndex(index);
      if (!good || !Placement(index)) return false;
    }
  }

  // OpenCASCADE evaluates a curve that it adds to an edge first at the range that the edge has from another one.
  bool ParameterRange(std::initializer_list<Loop> loops) {
    if (curves2d_.loops.empty() && curves3d_.loops.empty()) return lexer_.Finite() && lexer_.Finite();
    double first, last;
    if (!lexer_.Finite(first) || !lexer_.Finite(last)) return false;
    ranges_ = {std::min({ranges_.first, first, last}), std::max({ranges_.last, first, last})};
    for (const Loop& loop : loops) {
      if (loop.period == 0.0) continue;
      const double reach = kMaxBRepTurns * loop.period;
      reachable_ = {std::max(reachable_.first, loop.first - reach),
                    std::min(reachable_.last, loop.first + reach)};
    }
    return (ranges_.first >= reachable_.first && ranges_.last <= reachable_.last) ||
           Fail("An edge runs round a periodic curve too often");
  }

  // Where a curve on a surface begins and ends.
  bool EndPoints() { return version_ != 2 || lexer_.Finite(4); }

  // The letters stand glued to the number before them.
  bool Continuity(const BRepTextLexer::Token& token, unsigned first) {
    const char* text = token.text + first;
    const bool good = token.length == first + 2 &&
                      ((text[0] == 'C' && (text[1] == 'N' || (text[1] >= '0' && text[1] <= '3'))) ||
                       (text[0] == 'G' && (text[1] == '1' || text[1] == '2')));
    return good || Fail("A continuity is none of C0, C1, C2, C3, CN, G1 and G2");
  }

  bool Edge() {
    if (!Tolerance()) return false;
    constexpr const char* kReason = "A flag of an edge is neither 0 nor 1";
    bool sameParameter, sameRange, degenerated;
    if (!lexer_.Accept("1 1 0\n") && (!lexer_.Flag(sameParameter, kReason) ||
                                      !lexer_.Flag(sameRange, kReason) || !lexer_.Flag(degenerated, kReason)))
      return false;
    constexpr double kLargest = std::numeric_limits<double>::max();
    ranges_ = {kLargest, -kLargest};
    reachable_ = {-kLargest, kLargest};
    for (unsigned i = 0; i <= kMaxBRepRepresentations; ++i) {
      std::uint32_t kind;
      if (!lexer_.Number(7, kind, "An edge has a representation of an unknown kind")) return false;
      if (kind == 0) return true;
      if (!Representation(kind)) return false;
    }
    return Fail("An edge has too many representations");
  }

  bool Representation(std::uint32_t kind) {
    std::uint32_t curve, second, surface, placement;
    BRepTextLexer::Token token;
    switch (kind) {
    case 1:
      return CurveIndex(curve) && Placement(placement) && ParameterRange({curves3d_.LoopOf(curve)});
    case 2:
      return PlaneCurveIndex(curve) && SurfaceIndex(surface) && Placement(placement) &&
             ParameterRange({curves2d_.LoopOf(curve)}) && EndPoints();
    case 3: {
      if (!PlaneCurveIndex(curve) || !lexer_.Next(token)) return false;
      const unsigned letters = token.length > 2 ? token.length - 2 : 0;
      BRepTextLexer::Token number = token;
      number.length = letters;
      number.others &= (std::uint64_t{1} << letters) - 1u;
      if (!Continuity(token, letters) ||
          !lexer_.ParseNumber(number, 0, curves2d_.count, second,
                              "A shape refers to a plane curve that does not exist"))
        return false;
      if (second == 0) return Fail("A shape refers to a plane curve that does not exist");
      return SurfaceIndex(surface) && Placement(placement) &&
             ParameterRange({curves2d_.LoopOf(curve), curves2d_.LoopOf(second)}) && EndPoints();
    }
    case 4:
      return lexer_.Next(token) && Continuity(token, 0) && SurfaceIndex(surface) && Placement(placement) &&
             SurfaceIndex(surface) && Placement(placement);
    case 5:
      return lexer_.Index(polygons3d_, curve, "An edge refers to a polygon that does not exist") &&
             Placement(placement);
    default:
      if (!PolygonIndex(curve) || (second = curve, kind == 7 && !PolygonIndex(second)) ||
          !TriangulationIndex(surface) || !Placement(placement))
        return false;
      return std::max(polygonNodes_[curve - 1], polygonNodes_[second - 1]) <=
                 triangulationNodes_[surface - 1] ||
             Fail("A polygon's node is not in its triangulation");
    }
  }

  // The one place where the reader goes by lines: a line that starts with 2 names the triangulation.
  bool Face() {
    bool naturalRestriction;
    std::uint32_t surface, placement, triangulation;
    if (!lexer_.Flag(naturalRestriction, "A flag of a face is neither 0 nor 1") || !Tolerance() ||
        !lexer_.Number(surfaces_, surface, "A shape refers to a surface that does not exist") ||
        !Placement(placement))
      return false;
    unsigned lines;
    if (!lexer_.SkipBlank(lines)) return false;
    if (lines > 1) return true;
    constexpr const char* kReason = "A face does not end its line";
    if (lines == 0) return Fail(kReason);
    return lexer_.Word("2", kReason) && lexer_.SkipBlank(lines) && (lines == 0 || Fail(kReason)) &&
           TriangulationIndex(triangulation) && lexer_.SkipBlank(lines) && (lines > 0 || Fail(kReason));
  }

  bool Flags() {
    BRepTextLexer::Token token;
    if (!lexer_.Next(token)) return false;
    return (token.length == 7 && token.others == 0 && BRepTextLexer::AreBinary(token)) ||
           Fail("The flags of a shape are not seven of 0 and 1");
  }

  bool SubShapes(ShapeInfo& shape) {
    for (;;) {
      BRepTextLexer::Token token;
      if (!lexer_.Next(token)) return false;
      if (token.text[0] == '*')
        return token.length == 1 || Fail("A list of sub-shapes does not end in a star");
      std::uint32_t index = 0, placement = 0;
      if (!Reference(token, index, placement)) return false;
      // Shapes are numbered from the last to the first.
      const std::uint32_t position = shapeCount_ - index;
      if (position >= shapes_.size()) return Fail("A shape refers to one that does not come before it");
      ShapeInfo& part = shapes_[position];
      if ((kContainers[part.kind] >> shape.kind & 1u) == 0)
        return Fail("A shape holds one of a kind that it cannot hold");
      part.used = true;
      shape.depth = std::max<std::uint16_t>(shape.depth, part.depth + 1u);
      shape.chain = std::max(shape.chain, part.chain + Factors(placement));
      shape.unfolded += part.unfolded + Factors(placement);
      if (shape.depth > kMaxBRepDepth) return Fail("Shapes are nested too deep");
      if (shape.chain > kMaxBRepPlacementChain) return Fail("Placements add up to too many factors");
      if (shape.unfolded > kMaxBRepUnfolded) return Fail("Shapes unfold to too many sub-shapes");
    }
  }

  std::uint32_t Factors(std::uint32_t placement) const {
    return placement == 0 ? 0u : placements_[placement - 1].factors;
  }

  // "+12 3 ": orientation, shape and placement.
  bool Reference(const BRepTextLexer::Token& token, std::uint32_t& index, std::uint32_t& placement) {
    const char orientation = token.text[0];
    if (orientation != '+' && orientation != '-' && orientation != 'i' && orientation != 'e')
      return Fail("A sub-shape has an unknown orientation");
    if (!lexer_.ParseNumber(token, 1, shapeCount_, index, "A shape refers to one that does not exist"))
      return false;
    if (index == 0) return Fail("A shape refers to one that does not exist");
    return Placement(placement);
  }

  bool Root() {
    BRepTextLexer::Token token;
    std::uint32_t index = 0, placement = 0;
    if (!lexer_.Next(token) || !Reference(token, index, placement)) return false;
    if (index != 1) return Fail("The root is not the last shape");
    for (std::size_t i = 0; i + 1 < shapes_.size(); ++i) {
      if (!shapes_[i].used) return Fail("A shape belongs to no other");
    }
    unsigned lines;
    return isFile_ || (lexer_.SkipBlank(lines) &&
                       (lexer_.AtEnd() || lexer_.Fail("Something follows the shape", lexer_.Position())));
  }

  struct PlacementInfo {
    std::uint16_t factors;
    bool isProduct;
  };

  BRepTextLexer lexer_;
  const bool isFile_;
  int version_ = 3;
  std::vector<PlacementInfo> placements_;
  std::uint64_t placementSteps_ = 0;  // of the reader, to make the products
  std::set<std::vector<std::pair<std::uint32_t, int>>> products_;
  CurveTable curves2d_;
  CurveTable curves3d_;
  std::uint32_t polygons3d_ = 0;
  std::uint32_t surfaces_ = 0;
  std::vector<std::uint32_t> polygonNodes_;        // largest node of each polygon on a triangulation
  std::vector<std::uint32_t> triangulationNodes_;  // how many each triangulation has
  std::uint32_t shapeCount_ = 0;
  std::vector<ShapeInfo> shapes_;
  Range ranges_;        // of the edge that is being read: what all its ranges take in
  Range reachable_;     // and where its periodic curves can be evaluated
  Spline underOffset_;  // the B-spline at the bottom of an offset curve, if there is one
};

}  // namespace

BRepTextResult CheckBRepText(const char* data, std::size_t size, BRepTextOrigin origin) {
  return Checker(data, size, origin).Run();
}

}  // namespace mirel

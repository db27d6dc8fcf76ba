#include <Programs/mirel/PlaneCurveMemo.h>

#include <BRep_Tool.hxx>
#include <Geom_Circle.hxx>
#include <Geom_Curve.hxx>
#include <Geom_Line.hxx>
#include <Geom_Plane.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Edge.hxx>
#include <gp_Ax1.hxx>
#include <gp_Ax2.hxx>
#include <gp_Ax3.hxx>
#include <gp_Circ.hxx>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mirel {

namespace {

constexpr std::size_t kCurves =
    4096;  // so that those of a body of a thousand faces are there when it is drawn

// All that the projection of an edge depends on, bit for bit; zeros behind it.
class Numbers {
 public:
  void Add(double number) { numbers_[count_++] = number; }
  void Add(const gp_XYZ& point) {
    Add(point.X());
    Add(point.Y());
    Add(point.Z());
  }

  // False for curves other than lines and circles, and for surfaces other than planes, of which it holds nothing.
  bool Add(const Geom_Curve& curve) {
    if (curve.DynamicType() == STANDARD_TYPE(Geom_Line)) {
      const gp_Ax1& axis = static_cast<const Geom_Line&>(curve).Position();
      Add(axis.Location().XYZ());
      Add(axis.Direction().XYZ());
      return true;
    }
    if (curve.DynamicType() == STANDARD_TYPE(Geom_Circle)) {
      const gp_Circ circle = static_cast<const Geom_Circle&>(curve).Circ();
      Add(circle.Radius());
      AddAxes(circle.Position());
      return true;
    }
    return false;
  }
  bool Add(const Geom_Surface& surface) {
    if (surface.DynamicType() != STANDARD_TYPE(Geom_Plane)) {
      return false;
    }
    AddAxes(static_cast<const Geom_Plane&>(surface).Position());
    return true;
  }

  bool operator==(const Numbers& other) const {
    return count_ == other.count_ &&
           std::memcmp(numbers_.data(), other.numbers_.data(), count_ * sizeof(double)) == 0;
  }

  std::size_t GetHash() const {
    std::uint64_t hash = count_;
    for (std::size_t i = 0; i < count_; ++i) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &numbers_[i], sizeof bits);
      hash = (hash ^ bits) * 0x9E3779B97F4A7C15;
      hash ^= hash >> 32;
    }
    return static_cast<std::size_t>(hash);
  }

 private:
  template <typename Axes>
  void AddAxes(const Axes& axes) {
    Add(axes.Location().XYZ());
    Add(axes.Direction().XYZ());
    Add(axes.XDirection().XYZ());
    Add(axes.YDirection().XYZ());
  }

  std::array<double, 27> numbers_ = {};  // of a circle, its range, and the plane
  std::size_t count_ = 0;
};

struct Place {
  Numbers of;
  Handle(Geom2d_Curve) curve;  // of which only copies leave
  std::atomic_flag isTaken = ATOMIC_FLAG_INIT;
};

// Takes a place, if nobody else has it: whoever is forked meanwhile finds it taken for ever, and does without.
class Hold {
 public:
  explicit Hold(Place& place)
      : place_(place), isMine_(!place.isTaken.test_and_set(std::memory_order_acquire)) {}
  ~Hold() {
    if (isMine_) {
      place_.isTaken.clear(std::memory_order_release);
    }
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  explicit operator bool() const { return isMine_; }

 private:
  Place& place_;
  const bool isMine_;
};

Place& FindPlace(const Numbers& numbers) {
  static auto* const places = new std::array<Place, kCurves>;  // threads that never end use it to the last
  return (*places)[numbers.GetHash() % kCurves];
}

Handle(Geom2d_Curve) CopyOf(const Geom2d_Curve& curve) {
  return static_cast<Geom2d_Curve*>(curve.Copy().get());  // of the same type
}

}  // namespace

Handle(Geom2d_Curve) PlaneCurveMemo::Get(const TopoDS_Edge& edge, const Handle(Geom_Surface) & surface,
                                         const TopLoc_Location& place, double& first, double& last,
                                         Project project) {
  Numbers numbers;
  if (surface.IsNull() || !numbers.Add(*surface)) {
    return project(edge, surface, place, first, last);
  }
  TopLoc_Location curvePlace;
  double begin = 0.0;
  double end = 0.0;
  const Handle(Geom_Curve)& curve = BRep_Tool::Curve(edge, curvePlace, begin, end);
  if (curve.IsNull() || curvePlace != place || !numbers.Add(*curve)) {
    return project(edge, surface, place, first, last);
  }
  numbers.Add(begin);
  numbers.Add(end);
  Place& known = FindPlace(numbers);
  {
    const Hold hold(known);
    if (hold && !known.curve.IsNull() && known.of == numbers) {
      first = begin;
      last = end;
      return CopyOf(*known.curve);
    }
  }
  Handle(Geom2d_Curve) projected = project(edge, surface, place, first, last);
  if (!projected.IsNull() && first == begin && last == end) {
    Handle(Geom2d_Curve) kept = CopyOf(*projected);
    const Hold hold(known);
    if (hold) {
      known.of = numbers;
      std::swap(known.curve, kept);
    }
  }
  return projected;
}

}  // namespace mirel

#include <Viewer/Kernel/Host/GeometryView/Delaunay.h>

#include <Viewer/Kernel/Host/Core/WatchedWork.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

namespace mirel {
namespace {

// With coordinates of 30 bits, products of differences fit into 63.
constexpr int kGridBits = 30;
// Bits of a coordinate that the order of insertion goes by.
constexpr int kOrderBits = 16;
// How far from zero a determinant must be to be told from rounding, as a share of the sum of its terms.
constexpr double kRounding = 1e-14;
constexpr int kNone = -1;

struct GridPoint {
  std::int64_t x, y;
};

// The place of a point on a Hilbert curve: points that follow each other there are near each other.
std::uint32_t HilbertPlace(GridPoint point) {
  auto x = static_cast<std::uint32_t>(point.x >> (kGridBits - kOrderBits));
  auto y = static_cast<std::uint32_t>(point.y >> (kGridBits - kOrderBits));
  std::uint32_t place = 0;
  constexpr std::uint32_t kLast = (1u << kOrderBits) - 1u;
  x = std::min(x, kLast);
  y = std::min(y, kLast);
  for (std::uint32_t side = 1u << (kOrderBits - 1); side > 0; side /= 2) {
    const std::uint32_t right = (x & side) != 0, upper = (y & side) != 0;
    place += side * side * ((3 * right) ^ upper);
    if (upper == 0) {
      if (right == 1) {
        x = kLast - x;
        y = kLast - y;
      }
      std::swap(x, y);
    }
  }
  return place;
}

// Inserts one point after the other into a square of two triangles, and flips edges until each is Delaunay again.
class Triangulation {
 public:
  explicit Triangulation(std::vector<GridPoint> points) : points_(std::move(points)) {
    const int count = static_cast<int>(points_.size()), a = count - 4, b = count - 3, c = count - 2,
              d = count - 1;
    triangles_.reserve(2 * points_.size());
    triangles_.push_back({{a, b, c}, {kNone, kNone, 1}});
    triangles_.push_back({{a, c, d}, {0, kNone, kNone}});
  }

  void Insert(int point) {
    const int found = Locate(point);
    int border = kNone;
    int borders = 0;
    for (int i = 0; i < 3; ++i)
      if (Side(found, i, point) == 0) {
        border = i;
        ++borders;
      }
    if (borders > 1) return;  // a corner, so this place is taken
    if (borders == 1)
      SplitEdge(found, border, point);
    else
      SplitTriangle(found, point);
    Legalise(point);
  }

  std::vector<std::array<int, 3>> GetCorners() const {
    std::vector<std::array<int, 3>> corners;
    corners.reserve(triangles_.size());
    for (const Triangle& triangle : triangles_)
      corners.push_back(triangle.corners);
    return corners;
  }

 private:
  // Edge i runs from corner i to the next one; neighbours[i] is the triangle beyond it.
  struct Triangle {
    std::array<int, 3> corners;
    std::array<int, 3> neighbours;
  };

  Triangle& At(int triangle) { return triangles_[static_cast<std::size_t>(triangle)]; }
  const GridPoint& Point(int point) const { return points_[static_cast<std::size_t>(point)]; }

  // Above 0 when c lies to the left of the way from a to b.
  std::int64_t Turn(int a, int b, int c) const {
    const GridPoint &p = Point(a), &q = Point(b), &r = Point(c);
    return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
  }
  std::int64_t Side(int triangle, int edge, int point) {
    const Triangle& t = At(triangle);
    return Turn(t.corners[static_cast<std::size_t>(edge)],
                t.corners[static_cast<std::size_t>((edge + 1) % 3)], point);
  }

  // Walks from the last triangle towards the point. Among triangles that are not quite Delaunay a walk may go in circles.
  int Locate(int point) {
    int triangle = last_;
    for (std::size_t step = 0; step <= triangles_.size(); ++step) {
      int next = kNone;
      for (std::size_t i = 0; i < 3 && next == kNone; ++i) {
        const auto edge = static_cast<int>((i + step) % 3);
        if (Side(triangle, edge, point) < 0) next = At(triangle).neighbours[static_cast<std::size_t>(edge)];
      }
      if (next == kNone) return triangle;
      triangle = next;
    }
    for (triangle = 0; triangle + 1 < static_cast<int>(triangles_.size()); ++triangle)
      if (Side(triangle, 0, point) >= 0 && Side(triangle, 1, point) >= 0 && Side(triangle, 2, point) >= 0)
        break;
    return triangle;
  }

  void Replace(int triangle, int old, int by) {
    if (triangle == kNone) return;
    auto& neighbours = At(triangle).neighbours;
    std::replace(neighbours.begin(), neighbours.end(), old, by);
  }

  int Add(const Triangle& triangle) {
    triangles_.push_back(triangle);
    return static_cast<int>(triangles_.size()) - 1;
  }

  // The new point becomes corner 2 of each new triangle, so that edge 0 is the one to look at.
  void SplitTriangle(int whole, int point) {
    const Triangle old = At(whole);
    const auto [a, b, c] = old.corners;
    const int second = Add({{b, c, point}, {old.neighbours[1], kNone, whole}});
    const int third = Add({{c, a, point}, {old.neighbours[2], whole, second}});
    At(second).neighbours[1] = third;
    At(whole) = {{a, b, point}, {old.neighbours[0], second, third}};
    Replace(old.neighbours[1], whole, second);
    Replace(old.neighbours[2], whole, third);
    open_.insert(open_.end(), {whole, second, third});
    last_ = whole;
  }

  void SplitEdge(int near, int edge, int point) {
    const auto e = static_cast<std::size_t>(edge);
    const Triangle old = At(near);
    const int a = old.corners[e], b = old.corners[(e + 1) % 3], c = old.corners[(e + 2) % 3];
    const int bc = old.neighbours[(e + 1) % 3], ca = old.neighbours[(e + 2) % 3], far = old.neighbours[e];
    const int nearB = Add({{b, c, point}, {bc, near, kNone}});
    At(near) = {{c, a, point}, {ca, kNone, nearB}};
    Replace(bc, near, nearB);
    open_.insert(open_.end(), {near, nearB});
    last_ = near;
    if (far == kNone) return;
    const Triangle other = At(far);
    std::size_t o = 0;
    while (other.corners[o] != b)
      ++o;
    const int d = other.corners[(o + 2) % 3];
    const int ad = other.neighbours[(o + 1) % 3], db = other.neighbours[(o + 2) % 3];
    const int farB = Add({{d, b, point}, {db, nearB, far}});
    At(far) = {{a, d, point}, {ad, farB, near}};
    Replace(db, far, farB);
    At(near).neighbours[1] = far;
    At(nearB).neighbours[2] = farB;
    open_.insert(open_.end(), {far, farB});
  }

  // Every flip gives the new point one more edge, so there are fewer of them than points.
  void Legalise(int point) {
    while (!open_.empty()) {
      const int near = open_.back();
      open_.pop_back();
      const Triangle old = At(near);
      const int far = old.neighbours[0];
      if (far == kNone) continue;
      const Triangle other = At(far);
      const int a = old.corners[0], b = old.corners[1];
      std::size_t o = 0;
      while (other.corners[o] != b)
        ++o;
      const int d = other.corners[(o + 2) % 3];
      if (!IsInCircle(a, b, point, d) || Turn(a, d, point) <= 0 || Turn(d, b, point) <= 0) continue;
      const int ad = other.neighbours[(o + 1) % 3], db = other.neighbours[(o + 2) % 3];
      At(near) = {{a, d, point}, {ad, far, old.neighbours[2]}};
      At(far) = {{d, b, point}, {db, old.neighbours[1], near}};
      Replace(ad, far, near);
      Replace(old.neighbours[1], near, far);
      open_.insert(open_.end(), {near, far});
    }
  }

  // Whether d lies inside the circle through a, b and c by more than rounding.
  bool IsInCircle(int a, int b, int c, int d) const {
    const GridPoint& origin = Point(d);
    double x[3], y[3], square[3];
    const int corners[3] = {a, b, c};
    for (std::size_t i = 0; i < 3; ++i) {
      const GridPoint& p = Point(corners[i]);
      x[i] = static_cast<double>(p.x - origin.x);
      y[i] = static_cast<double>(p.y - origin.y);
      square[i] = x[i] * x[i] + y[i] * y[i];
    }
    double sum = 0.0, terms = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
      const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
      const double plus = x[j] * y[k], minus = y[j] * x[k];
      sum += square[i] * (plus - minus);
      terms += square[i] * (std::abs(plus) + std::abs(minus));
    }
    return sum > kRounding * terms;
  }

  std::vector<GridPoint> points_;
  std::vector<Triangle> triangles_;
  std::vector<int> open_;  // triangles of the new point whose edge 0 may have to be flipped
  int last_ = 0;
};

}  // namespace

std::vector<std::array<int, 3>> TriangulateDelaunay(const std::vector<std::array<double, 2>>& points,
                                                    WorkState& state) {
  if (points.size() < 4) return {};
  const auto &low = points[points.size() - 4], &high = points[points.size() - 2];
  const double width = high[0] - low[0], height = high[1] - low[1];
  if (!(width > 0.0 && height > 0.0 && std::isfinite(width) && std::isfinite(height))) return {};
  constexpr double kPlaces = static_cast<double>(std::int64_t{1} << kGridBits);
  std::vector<GridPoint> grid;
  grid.reserve(points.size());
  for (const auto& point : points) {
    const double x = (point[0] - low[0]) / width, y = (point[1] - low[1]) / height;
    if (!(x >= 0.0 && x <= 1.0 && y >= 0.0 && y <= 1.0)) return {};
    grid.push_back({std::llround(x * kPlaces), std::llround(y * kPlaces)});
  }

  std::vector<std::pair<std::uint32_t, int>> order;
  order.reserve(points.size());
  for (std::size_t i = 0; i + 4 < grid.size(); ++i)
    order.emplace_back(HilbertPlace(grid[i]), static_cast<int>(i));
  std::sort(order.begin(), order.end());
  Triangulation triangulation(std::move(grid));
  for (std::size_t i = 0; i < order.size(); ++i) {
    triangulation.Insert(order[i].second);
    if (i % 1024 == 0) {
      if (state.IsStopped()) return {};
      state.Step();
    }
  }
  return triangulation.GetCorners();
}

}  // namespace mirel

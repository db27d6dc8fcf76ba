#include <Viewer/Kernel/Host/GeometryView/Delaunay.h>

#include <Viewer/Kernel/Host/Core/WatchedWork.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>

namespace mirel {
namespace {

using Points = std::vector<std::array<double, 2>>;
using Triangles = std::vector<std::array<int, 3>>;

Points InSquare(Points points, double low = -1.0, double high = 2.0) {
  for (const auto& corner : Points{{low, low}, {high, low}, {high, high}, {low, high}})
    points.push_back(corner);
  return points;
}

Triangles Triangulate(const Points& points) {
  WorkState state;
  return TriangulateDelaunay(points, state);
}

double Area(const Points& points, const std::array<int, 3>& corners) {
  const auto& [a, b, c] = corners;
  const auto at = [&](int i) { return points[static_cast<std::size_t>(i)]; };
  return 0.5 *
         ((at(b)[0] - at(a)[0]) * (at(c)[1] - at(a)[1]) - (at(b)[1] - at(a)[1]) * (at(c)[0] - at(a)[0]));
}

// The triangles cover the square once: none is turned over, no side is used twice in one direction, and there are as many
// as there must be. Returns the number of points in use.
std::size_t CheckTiling(const Points& points, const Triangles& triangles) {
  std::set<int> used;
  std::map<std::pair<int, int>, int> sides;
  double area = 0.0;
  for (const auto& corners : triangles) {
    EXPECT_GE(Area(points, corners), -1e-9);
    area += Area(points, corners);
    for (std::size_t k = 0; k < 3; ++k) {
      used.insert(corners[k]);
      EXPECT_EQ(++sides[std::make_pair(corners[k], corners[(k + 1) % 3])], 1);
    }
  }
  std::size_t single = 0;
  for (const auto& side : sides)
    single += sides.count({side.first.second, side.first.first}) == 0;
  EXPECT_NEAR(area, 9.0, 1e-6);
  EXPECT_EQ(triangles.size() + single, 2 * used.size() - 2);
  return used.size();
}

TEST(Delaunay, CoversTheSquareWhateverThePoints) {
  std::mt19937 random(5);
  const auto number = [&] { return static_cast<double>(random()) / 4294967295.0; };
  std::map<std::string, Points> sets;
  for (int i = 0; i < 2000; ++i) {
    sets["spread"].push_back({number(), number()});
    sets["on a line"].push_back({number(), 0.5});
    sets["on a circle"].push_back({0.5 + 0.5 * std::cos(i * 0.01), 0.5 + 0.5 * std::sin(i * 0.01)});
    sets["on a parabola"].push_back({i / 2000.0, (i / 2000.0) * (i / 2000.0)});
    sets["on a grid"].push_back({(i % 40) / 40.0, (i / 40) / 50.0});
    sets["near each other"].push_back({0.3 + 1e-9 * number(), 0.7 + 1e-9 * number()});
    sets["along the square"].push_back({-1.0 + 3.0 * number(), i % 2 == 0 ? -1.0 : 2.0});
    sets["same"].push_back({0.25, 0.125});
  }
  for (auto& [name, set] : sets) {
    SCOPED_TRACE(name);
    const std::size_t count = set.size();
    const Points points = InSquare(set);
    const std::size_t used = CheckTiling(points, Triangulate(points));
    if (name == "same") {
      EXPECT_EQ(used, 5u);
    } else if (name != "near each other") {
      EXPECT_EQ(used, count + 4);
    }
  }
  EXPECT_EQ(CheckTiling(InSquare({}), Triangulate(InSquare({}))), 4u);
  // Of equal points the first is used.
  for (const auto& corners : Triangulate(InSquare({{0.5, 0.5}, {0.1, 0.2}, {0.5, 0.5}})))
    EXPECT_EQ(std::count(corners.begin(), corners.end(), 2), 0);
}

TEST(Delaunay, NoPointLiesInTheCircleOfATriangle) {
  std::mt19937 random(7);
  Points points;
  for (int i = 0; i < 200; ++i)
    points.push_back({(random() % 10007) / 10007.0, (random() % 10009) / 10009.0});
  points = InSquare(points);
  for (const auto& corners : Triangulate(points)) {
    const auto& a = points[static_cast<std::size_t>(corners[0])];
    double x[2], y[2], square[2];
    for (std::size_t k = 0; k < 2; ++k) {
      x[k] = points[static_cast<std::size_t>(corners[k + 1])][0] - a[0];
      y[k] = points[static_cast<std::size_t>(corners[k + 1])][1] - a[1];
      square[k] = x[k] * x[k] + y[k] * y[k];
    }
    const double twice = 2.0 * (x[0] * y[1] - x[1] * y[0]);
    const double cx = (y[1] * square[0] - y[0] * square[1]) / twice,
                 cy = (x[0] * square[1] - x[1] * square[0]) / twice;
    for (const auto& point : points)
      EXPECT_GT(std::hypot(point[0] - a[0] - cx, point[1] - a[1] - cy), std::hypot(cx, cy) * (1 - 1e-6));
  }
}

TEST(Delaunay, GivesNothingForWhatAreNoPoints) {
  EXPECT_TRUE(Triangulate({}).empty());
  EXPECT_TRUE(Triangulate(InSquare({}, 1.0, 1.0)).empty());
  EXPECT_TRUE(Triangulate(InSquare({}, 0.0, HUGE_VAL)).empty());
  for (double odd : {std::nan(""), static_cast<double>(HUGE_VAL), -7.0}) {
    EXPECT_TRUE(Triangulate(InSquare({{0.5, 0.5}, {odd, 0.5}})).empty());
    EXPECT_TRUE(Triangulate(InSquare({{0.5, odd}})).empty());
  }
  WorkState stopped;
  stopped.Stop();
  EXPECT_TRUE(TriangulateDelaunay(InSquare({{0.5, 0.5}}), stopped).empty());
}

}  // namespace
}  // namespace mirel

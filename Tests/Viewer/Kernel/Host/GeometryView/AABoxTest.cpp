#include <Tests/Support/LogCapture.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace mirel {
namespace {

using Box = AABoxT<double>;
using Vec = glm::dvec3;

const char* const kInverted = "The minimum corner of the box must be less than or equal to maximum corner";

Box Infinite() {
  Box box;
  box.SetInfinite();
  return box;
}

void ExpectEmpty(const Box& box) {
  EXPECT_EQ(box.GetState(), Box::kEmpty);
  EXPECT_EQ(box.GetMin(), Vec(0.5));
  EXPECT_EQ(box.GetMax(), Vec(-0.5));
}

void ExpectCorners(const Box& box, const Vec& min, const Vec& max) {
  EXPECT_EQ(box.GetState(), Box::kFinite);
  EXPECT_EQ(box.GetMin(), min);
  EXPECT_EQ(box.GetMax(), max);
}

TEST(AABoxTest, CornersAreChecked) {
  LogCapture log;
  ExpectCorners(Box(Vec(0), Vec(0)), Vec(0), Vec(0));              // a point
  ExpectCorners(Box(Vec(0), Vec(1, 0, 1)), Vec(0), Vec(1, 0, 1));  // a flat box
  EXPECT_TRUE(log.GetEntries().empty());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Vec& max : {Vec(-1, 1, 1), Vec(1, -1, 1), Vec(1, 1, -1), Vec(nan, 1, 1), Vec(1, 1, nan)}) {
    Box box(Vec(5), Vec(6));
    log.Clear();
    box.SetCorners(Vec(0), max);
    ExpectEmpty(box);
    EXPECT_EQ(log.GetEntries(), (std::vector<LogCapture::Entry>{{1, kInverted}}));
  }
}

TEST(AABoxTest, Merge) {
  const Box a(Vec(0, 0, 0), Vec(1, 2, 3)), b(Vec(-1, 1, 5), Vec(0.5, 9, 6));
  const auto merged = [](Box into, const Box& other) {
    into.Merge(other);
    return into;
  };
  ExpectCorners(merged(a, Box()), a.GetMin(), a.GetMax());
  ExpectCorners(merged(Box(), b), b.GetMin(), b.GetMax());
  ExpectCorners(merged(a, b), Vec(-1, 0, 0), Vec(1, 9, 6));
  ExpectEmpty(merged(Box(), Box()));
  EXPECT_TRUE(merged(a, Infinite()).IsInfinite());
  EXPECT_TRUE(merged(Infinite(), a).IsInfinite());
}

TEST(AABoxTest, Extend) {
  Box box;
  box.Extend(Vec(1, 2, 3));
  ExpectCorners(box, Vec(1, 2, 3), Vec(1, 2, 3));
  box.Extend(Vec(0, 5, 3));
  ExpectCorners(box, Vec(0, 2, 3), Vec(1, 5, 3));
  Box infinite = Infinite();
  infinite.Extend(Vec(1));
  EXPECT_TRUE(infinite.IsInfinite());
}

TEST(AABoxTest, TransformTakesTheBoxOfTheMovedCorners) {
  Box box(Vec(0), Vec(1));
  box.Transform(glm::mat4(glm::translate(glm::dmat4(1), Vec(10, 0, 0))));
  ExpectCorners(box, Vec(10, 0, 0), Vec(11, 1, 1));

  // Turned by 45 degrees and back: the box is taken twice, so it is larger than before.
  Box turned(Vec(0), Vec(1));
  turned.Transform(glm::mat4(glm::rotate(glm::dmat4(1), std::acos(-1.0) / 4, Vec(0, 0, 1))));
  EXPECT_NEAR(turned.GetMin().x, -std::sqrt(0.5), 1e-6);
  EXPECT_NEAR(turned.GetMax().y, std::sqrt(2.0), 1e-6);
  turned.Transform(glm::mat4(glm::rotate(glm::dmat4(1), -std::acos(-1.0) / 4, Vec(0, 0, 1))));
  EXPECT_NEAR(turned.GetMin().x, -0.5, 1e-6);
  EXPECT_NEAR(turned.GetMax().x, 1.5, 1e-6);
  EXPECT_EQ(turned.GetMin().z, 0.0);

  // The matrix is rounded to single precision, the products are not.
  Box precise(Vec(1.0 / 3), Vec(1.0 / 3));
  precise.Transform(glm::mat4(glm::scale(glm::dmat4(1), Vec(0.1))));
  EXPECT_EQ(precise.GetMin().x, static_cast<double>(0.1f) * (1.0 / 3));

  Box empty, infinite = Infinite();
  empty.Transform(glm::mat4(2));
  infinite.Transform(glm::mat4(2));
  ExpectEmpty(empty);
  EXPECT_TRUE(infinite.IsInfinite());
}

TEST(AABoxTest, TransformDividesByWUnlessItIsZero) {
  glm::mat4 halve(1.0f);
  halve[3][3] = 2.0f;
  Box box(Vec(0), Vec(2));
  box.Transform(halve);
  ExpectCorners(box, Vec(0), Vec(1));

  // w = x: 0 for the corners at x = 0, which stay as they are, and 4 for those at x = 4.
  glm::mat4 perspective(1.0f);
  perspective[0][3] = 1.0f;
  perspective[3][3] = 0.0f;
  Box seen(Vec(0, 8, 8), Vec(4, 8, 8));
  seen.Transform(perspective);
  ExpectCorners(seen, Vec(0, 2, 2), Vec(1, 8, 8));
}

}  // namespace
}  // namespace mirel

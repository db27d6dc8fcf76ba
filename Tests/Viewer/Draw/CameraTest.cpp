#include <Viewer/Draw/Camera.h>

#include <gtest/gtest.h>

#include <glm/glm.hpp>

#include <cmath>
#include <limits>

namespace mirel {
namespace {

const glm::dvec2 kSize(400, 300);

TEST(CameraTest, LooksFromTheSidesThatItsViewsAreNamedAfter) {
  const struct {
    const char* name;
    glm::dvec3 from, right, up;
  } views[] = {{"front", {0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {"back", {0, 1, 0}, {-1, 0, 0}, {0, 0, 1}},
               {"left", {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}, {"right", {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
               {"top", {0, 0, 1}, {1, 0, 0}, {0, 1, 0}},    {"bottom", {0, 0, -1}, {1, 0, 0}, {0, -1, 0}}};
  Camera camera;
  for (const auto& view : views) {
    camera.SetView(Camera::FindView(view.name).value());
    EXPECT_LT(glm::distance(camera.GetForward(), -view.from), 1e-12) << view.name;
    EXPECT_LT(glm::distance(camera.GetRight(), view.right), 1e-12) << view.name;
    EXPECT_LT(glm::distance(camera.GetUp(), view.up), 1e-12) << view.name;
  }
  EXPECT_FALSE(Camera::FindView("inside"));
}

// All points are in the picture, and some at its margin on two opposite sides.
TEST(CameraTest, FitsWhatIsSeenExactly) {
  const glm::dvec3 away(3e8, -2e8, 1e8);
  std::vector<glm::dvec3> points;
  for (int i = 0; i < 8; ++i)
    points.push_back(away + glm::dvec3(i & 1 ? 700 : 0, i & 2 ? 40 : 0, i & 4 ? 90 : 0));
  for (const Camera::Projection projection :
       {Camera::Projection::kPerspective, Camera::Projection::kParallel}) {
    for (const char* view : {"iso", "front", "left", "top"}) {
      Camera camera;
      camera.SetProjection(projection);
      camera.SetView(Camera::FindView(view).value());
      camera.Fit(points, kSize.x / kSize.y);
      glm::dvec2 low(1e9), high(-1e9);
      for (const glm::dvec3& point : points) {
        const glm::dvec3 seen = camera.Project(point, kSize);
        low = glm::min(low, glm::dvec2(seen));
        high = glm::max(high, glm::dvec2(seen));
        EXPECT_TRUE(seen.z > 0.0 || projection == Camera::Projection::kParallel);
        // And back again.
        const Ray ray = camera.GetRay(glm::dvec2(seen), kSize);
        EXPECT_LT(glm::length(glm::cross(point - ray.origin, ray.direction)), 1e-4);
      }
      const glm::dvec2 margin(12.0);
      const glm::dvec2 room = glm::min(low - margin, kSize - margin - high);
      EXPECT_GT(std::min(room.x, room.y), -1e-3) << view;
      EXPECT_LT(std::min(room.x, room.y), 1e-3) << view;
      EXPECT_NEAR(low.x + high.x, kSize.x, 1e-3 + (room.x > 0.01 ? 400 : 0)) << view;
    }
  }
  Camera camera;
  camera.Fit(std::vector<glm::dvec3>{{5, 5, 5}}, 1.0);
  EXPECT_NEAR(camera.GetHeight(), 1.0, 1e-12);
  EXPECT_EQ(camera.GetTarget(), glm::dvec3(5, 5, 5));
}

TEST(CameraTest, TurnsPansAndZoomsAboutItsTarget) {
  Camera camera;
  camera.Fit(std::vector<glm::dvec3>{{0, 0, 0}, {10, 20, 30}}, 1.0);
  const glm::dvec3 target = camera.GetTarget();
  const double distance = glm::distance(camera.GetEye(), target);
  for (int i = 0; i < 40; ++i) {
    camera.Orbit(0.7, 0.4);  // up to the top, and not over it
    EXPECT_GE(camera.GetUp().z, 0.0);
    EXPECT_NEAR(glm::distance(camera.GetEye(), target), distance, 1e-9);
  }
  EXPECT_LT(camera.GetForward().z, -0.999);

  const glm::dvec3 mark(1, 2, 3);
  const glm::dvec3 before = camera.Project(mark, kSize);
  camera.Zoom(3.0, mark);
  EXPECT_LT(glm::distance(glm::dvec2(camera.Project(mark, kSize)), glm::dvec2(before)), 1e-9);
  EXPECT_NEAR(glm::distance(camera.GetEye(), camera.GetTarget()), distance / 3, 1e-9);
  const glm::dvec3 direction = camera.GetForward();
  camera.Orbit(0.5, -0.8, mark);
  EXPECT_LT(glm::distance(glm::dvec2(camera.Project(mark, kSize)), glm::dvec2(before)), 1e-9);
  EXPECT_GT(glm::distance(camera.GetForward(), direction), 0.5);
  const glm::dvec3 seen = camera.Project(camera.GetTarget(), kSize);
  const glm::dvec3 old = camera.GetTarget();
  camera.Pan(0.5, 0.0);
  EXPECT_NEAR(seen.x - camera.Project(old, kSize).x, kSize.y / 2, 1e-9);
}

TEST(CameraTest, RefusesDirectionsThatAreNone) {
  Camera camera;
  const glm::dvec3 forward = camera.GetForward();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(camera.SetDirection({0, 0, 0}, {0, 0, 1}));
  EXPECT_FALSE(camera.SetDirection({nan, 0, 0}, {0, 0, 1}));
  EXPECT_FALSE(camera.SetDirection({1, 0, 0}, {0, 0, 0}));
  EXPECT_EQ(camera.GetForward(), forward);
  EXPECT_TRUE(camera.SetDirection({0, 0, 2}, {0, 0, 1}));  // upwards is along the view
  EXPECT_LT(std::abs(glm::dot(camera.GetUp(), camera.GetForward())), 1e-12);
}

}  // namespace
}  // namespace mirel

#include <Viewer/Draw/RayCaster.h>

#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <gtest/gtest.h>

#include <glm/glm.hpp>

#include <cmath>
#include <limits>
#include <random>

namespace mirel {
namespace {

Ray Downwards(double x, double y, double z) {
  return {{x, y, z}, {0, 0, -1}};
}

// A box stays a box wherever it is, and its outside the outside.
TEST(RayCasterTest, MeetsBodiesThatAreFarAwayMirroredAndSheared) {
  const auto root = std::make_shared<GroupSceneNode>();
  const glm::dvec3 away(4e8, -4e8, 1e8);
  root->SetTransform(Move(away.x, away.y, away.z));
  root->AddNode(BodyNode(BoxGRep(10, 20, 30), glm::dmat4(1.0)));
  root->AddNode(BodyNode(BoxGRep(10, 20, 30), Move(-100, 0, 0) * Mirror()));
  root->AddNode(BodyNode(BoxGRep(10, 20, 30), Move(200, 0, 0) * Shear()));
  const auto caster = MakeCaster(*root);
  for (const double x : {5.0, -105.0, 215.0}) {
    const RayHit hit = caster->Cast(Downwards(away.x + x, away.y + 10, away.z + 1000));
    ASSERT_TRUE(hit.IsHit()) << x;
    EXPECT_NEAR(hit.distance, 970.0, 1e-4);
    EXPECT_FALSE(hit.fromInside);
    EXPECT_NEAR(hit.normal.z, 1.0f, 1e-6f);
    EXPECT_NEAR(hit.flatNormal.z, 1.0f, 1e-6f);

    // From within: the bottom, which looks away.
    const RayHit bottom = caster->Cast(Downwards(away.x + (x > 200 ? 207 : x), away.y + 10, away.z + 1));
    EXPECT_NEAR(bottom.distance, 1.0, 1e-4);
    EXPECT_TRUE(bottom.fromInside);
    EXPECT_NEAR(bottom.normal.z, -1.0f, 1e-6f);
    EXPECT_NE(bottom.face, hit.face);
  }
  const std::vector<RayHit> through = caster->CastThrough({away + glm::dvec3(-1000, 9, 15), {1, 0, 0}});
  ASSERT_EQ(through.size(), 6u);
  for (std::size_t i = 0; i < 6; ++i)
    EXPECT_EQ(through[i].fromInside, i % 2 == 1) << i;
}

// In scenes of very many placements neighbours are kept in groups, or bodies are shared out: rays do not tell.
void ExpectSameOfMany(RayCaster::Aim aim) {
  const auto few = std::make_shared<GroupSceneNode>(), many = std::make_shared<GroupSceneNode>();
  for (int i = 0; i < 20500; ++i) {
    glm::dmat4 placement =
        Move(i % 10 * 3, i / 10 % 10 * 3, (i < 100 ? 0 : -100 - i / 100 * 8) + i % 7) * TurnAboutZ(i);
    if (i % 5 == 0) placement *= i % 2 == 0 ? Mirror() : Shear();
    const auto node = BodyNode(BoxGRep(1, 2, 3), placement);
    if (i < 100) few->AddNode(node);
    many->AddNode(node);
  }
  const auto wanted = MakeCaster(*few);
  const auto caster = std::make_shared<RayCaster>(std::make_shared<DrawScene>(*many), aim);
  std::mt19937 random(3);
  std::uniform_real_distribution<double> place(0.0, 30.0);
  std::vector<Ray> rays;
  for (int i = 0; i < 2000; ++i)
    rays.push_back({{place(random), place(random), 40.0},
                    glm::normalize(glm::dvec3(place(random) - 15, place(random) - 15, -60.0)),
                    0.0,
                    60.0});
  std::vector<RayHit> hits(rays.size());
  std::vector<std::uint8_t> blocked(rays.size());
  caster->Cast(rays.data(), hits.data(), rays.size());
  caster->FindBlocked(rays.data(), blocked.data(), rays.size());
  int met = 0, differing = 0;
  for (std::size_t i = 0; i < rays.size(); ++i) {
    const RayHit one = wanted->Cast(rays[i]), other = caster->Cast(rays[i]);
    met += one.IsHit() ? 1 : 0;
    EXPECT_EQ(blocked[i], hits[i].IsHit() ? 1 : 0);
    EXPECT_EQ(other.placement, hits[i].placement);
    // A ray along an edge may meet either side of it.
    const bool isSame = one.IsHit() == other.IsHit() && std::abs(one.distance - other.distance) < 1e-3 &&
                        (!one.IsHit() || wanted->GetScene().GetPath(one.placement).back() ==
                                             caster->GetScene().GetPath(other.placement).back());
    differing += isSame ? 0 : 1;
    if (isSame) {
      EXPECT_EQ(wanted->CastThrough(rays[i]).size(), caster->CastThrough(rays[i]).size());
    }
  }
  EXPECT_GT(met, 500);
  EXPECT_LE(differing, 2);
}

TEST(RayCasterTest, MeetsBodiesThatArePlacedVeryOften) {
  ExpectSameOfMany(RayCaster::Aim::kSpeed);
  ExpectSameOfMany(RayCaster::Aim::kMemory);
}

TEST(RayCasterTest, GivesTheSameForOneRayAsForMany) {
  const auto root = std::make_shared<GroupSceneNode>();
  for (int i = 0; i < 100; ++i)
    root->AddNode(BodyNode(BoxGRep(1, 2, 3), Move(i % 10 * 3, i / 10 * 3, i % 7) * TurnAboutZ(i)));
  const auto caster = MakeCaster(*root);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> place(0.0, 30.0);
  std::vector<Ray> rays;
  for (int i = 0; i < 1003; ++i) {
    Ray ray = {{place(random), place(random), 40.0},
               glm::normalize(glm::dvec3(place(random) / 3 - 5, place(random) / 3 - 5, -20))};
    if (i % 3 == 0) ray.farthest = place(random) * 2;
    if (i % 5 == 0) ray.nearest = place(random) * 2;
    rays.push_back(ray);
  }
  rays[5].direction.x = std::numeric_limits<double>::quiet_NaN();
  rays[6].origin.x = std::numeric_limits<double>::infinity();
  rays[7].nearest = -1e30;
  std::vector<RayHit> hits(rays.size());
  std::vector<std::uint8_t> blocked(rays.size());
  caster->Cast(rays.data(), hits.data(), rays.size());
  caster->FindBlocked(rays.data(), blocked.data(), rays.size());
  std::size_t met = 0;
  for (std::size_t i = 0; i < rays.size(); ++i) {
    const RayHit one = caster->Cast(rays[i]);
    const std::vector<RayHit> through = caster->CastThrough(rays[i]);
    EXPECT_EQ(hits[i].placement, one.placement) << i;
    EXPECT_EQ(blocked[i] != 0, one.IsHit()) << i;
    EXPECT_EQ(through.empty(), !one.IsHit()) << i;
    if (!one.IsHit()) continue;
    ++met;
    EXPECT_EQ(hits[i].face, one.face);
    EXPECT_NEAR(hits[i].distance, one.distance, 1e-4);
    EXPECT_NEAR(through.front().distance, one.distance, 1e-4);
    EXPECT_GE(one.distance, rays[i].nearest - 1e-4);
    EXPECT_LE(one.distance, rays[i].farthest + 1e-4);
  }
  EXPECT_GT(met, 150u);
  EXPECT_FALSE(hits[5].IsHit() || hits[6].IsHit());
}

TEST(RayCasterTest, TellsGhostsFromSolids) {
  const auto root = std::make_shared<GroupSceneNode>();
  const auto low = BodyNode(BoxGRep(1, 1, 1), glm::dmat4(1.0)),
             high = BodyNode(BoxGRep(1, 1, 1), Move(0, 0, 5));
  root->AddNode(low);
  root->AddNode(high);
  NodeVisibility visibility;
  visibility.Ghost(high.get());
  const auto caster = MakeCaster(*root, visibility);
  const Ray ray = Downwards(0.5, 0.4, 10);
  EXPECT_NEAR(caster->Cast(ray).distance, 9.0, 1e-5);
  EXPECT_NEAR(caster->Cast(ray, RayCaster::Layer::kGhost).distance, 4.0, 1e-5);
  EXPECT_EQ(caster->CastThrough(ray).size(), 2u);
}

}  // namespace
}  // namespace mirel

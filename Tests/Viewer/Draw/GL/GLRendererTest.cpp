#include <Viewer/Draw/GL/GLRenderer.h>

#include <Tests/Support/ChildRun.h>
#include <Tests/Support/OffscreenGL.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/Selection.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace mirel {
namespace {

// How far two pictures are off where they are most different: the mean colours of squares of so many pixels, so that
// the steps of lines hardly count. 0 to 255.
double CompareSquares(const Picture& a, const Picture& b) {
  constexpr int kSide = 6;
  if (a.width != b.width || a.height != b.height) return 255.0;
  double worst = 0.0;
  for (int top = 0; top + kSide <= a.height; top += kSide / 2) {
    for (int left = 0; left + kSide <= a.width; left += kSide / 2) {
      for (int i = 0; i < 4; ++i) {
        int sum = 0;
        for (int y = top; y < top + kSide; ++y) {
          for (int x = left; x < left + kSide; ++x)
            sum += int{a.GetPixel(x, y)[i]} - int{b.GetPixel(x, y)[i]};
        }
        worst = std::max(worst, std::abs(static_cast<double>(sum)) / (kSide * kSide));
      }
    }
  }
  return worst;
}

// What the steps of lines and outlines make out at most; what is wrong in a picture makes out more.
constexpr double kTolerance = 14.0;

// As it is drawn over black.
Picture Premultiply(Picture picture) {
  for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
    for (std::size_t k = i; k < i + 3; ++k)
      picture.pixels[k] = static_cast<std::uint8_t>(picture.pixels[k] * picture.pixels[i + 3] / 255);
  }
  return picture;
}

class GLRendererTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!gl_.GetObstacle().empty()) GTEST_SKIP() << gl_.GetObstacle();
    gl_.Begin(1, 1);
    if (!GLRenderer::FindObstacle().empty()) GTEST_SKIP() << GLRenderer::FindObstacle();
    options_.width = 300;
    options_.height = 225;
    options_.ambientOcclusion = false;
  }

  void Show(const SceneNode& root, const NodeVisibility& visibility = NodeVisibility()) {
    scene_ = std::make_shared<DrawScene>(root, visibility);
    camera_.Fit(*scene_, 4.0 / 3.0);
    renderer_.SetScene(scene_);
  }

  Picture Draw() {
    gl_.Begin(options_.width, options_.height);
    GLRenderer::Progress progress;
    for (int i = 0; i < 200 && !(progress.isUploaded && progress.isRefined); ++i)
      progress = renderer_.Draw(camera_, options_);
    EXPECT_TRUE(progress.isUploaded && progress.isRefined);
    return gl_.Read();
  }
  Picture DrawWithRays() { return DrawWithRays(scene_); }
  Picture DrawWithRays(const std::shared_ptr<const DrawScene>& scene) {
    return PictureRenderer(std::make_shared<RayCaster>(scene)).Draw(camera_, options_);
  }

  // Both pictures are kept where they differ, to be looked at.
  void ExpectSame(const char* what) {
    const Picture drawn = Draw(), wanted = DrawWithRays();
    const double difference = CompareSquares(drawn, wanted);
    EXPECT_LT(difference, kTolerance) << what;
    if (difference < kTolerance) return;
    std::string reason;
    drawn.Save(testing::TempDir() + what + "-gl.png", reason);
    wanted.Save(testing::TempDir() + what + "-rays.png", reason);
  }

  OffscreenGL gl_;
  std::shared_ptr<const DrawScene> scene_;
  GLRenderer renderer_;
  Camera camera_;
  GLViewOptions options_;
};

TEST_F(GLRendererTest, DrawsWhatRaysDraw) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  root->AddNode(BodyNode(parts.plate, Move(10, 60, 10) * Mirror()));
  root->AddNode(BodyNode(parts.plate, Move(20, 50, 30) * Shear()));
  static_cast<BrepSceneNode&>(*root->GetNodes()[0]).SetFaceColor(2, {0.9f, 0.1f, 0.1f});
  Show(*root);
  ExpectSame("plain");
  options_.edges = PictureOptions::Edges::kAll;
  ExpectSame("all-edges");
  options_.edges = PictureOptions::Edges::kNone;
  ExpectSame("no-edges");
  options_.edges = PictureOptions::Edges::kSharp;
  camera_.SetProjection(Camera::Projection::kParallel);
  options_.background = PictureOptions::Background::kColor;
  options_.backgroundColor = {0.2f, 0.3f, 0.1f};
  ExpectSame("parallel");
  camera_.Zoom(5.0, camera_.GetTarget());
  ExpectSame("near");
}

// Of the graphics of a body, which edges are smooth counts, too.
// The light is computed around the scene's box alone.
TEST_F(GLRendererTest, DrawsWhatRaysDrawFromEverywhere) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  Show(*root);
  for (const auto projection : {Camera::Projection::kPerspective, Camera::Projection::kParallel}) {
    camera_ = Camera();
    camera_.SetProjection(projection);
    for (const Camera::View view : {Camera::View::kTop, Camera::View::kRight, Camera::View::kIso}) {
      camera_.SetView(view);
      camera_.Fit(*scene_, 4.0 / 3.0);
      ExpectSame("fitted");
    }
    camera_.Pan(0.6, 0.3);
    ExpectSame("aside");
    camera_.Pan(-0.6, -0.3);
    const Camera fitted = camera_;
    camera_.Zoom(0.05, camera_.GetTarget());
    ExpectSame("small");
    camera_ = fitted;
    camera_.Zoom(6.0, camera_.GetTarget());
    ExpectSame("inside");
    camera_.Orbit(2.0, 0.3, camera_.GetEye());
    ExpectSame("behind");
  }
  Show(*std::make_shared<GroupSceneNode>());
  ExpectSame("empty");
}

TEST_F(GLRendererTest, DrawsNoLinesAlongRounds) {
  const auto root = std::make_shared<GroupSceneNode>();
  root->AddNode(BodyNode(RoundedBoxGRep(), glm::dmat4(1.0)));
  camera_.SetDirection({0, -1, 1}, {0, 0, 1});
  Show(*root);
  ExpectSame("round");
  const glm::dvec2 point(camera_.Project({0, 0, 0}, {options_.width, options_.height}));
  const Picture lines = Draw();
  options_.edges = PictureOptions::Edges::kNone;
  const Picture plain = Draw();
  for (int y = static_cast<int>(point.y) - 6; y < static_cast<int>(point.y) + 6; ++y)
    EXPECT_EQ(lines.GetPixel(static_cast<int>(point.x), y)[1],
              plain.GetPixel(static_cast<int>(point.x), y)[1]);
}

// What a comparison must notice, each broken on purpose.
TEST_F(GLRendererTest, DiffersFromPicturesOfWrongParts) {
  const Parts parts;
  const auto expectDifferent = [&](const SceneNode& root, const char* what) {
    EXPECT_GT(CompareSquares(Draw(), DrawWithRays(std::make_shared<DrawScene>(root))), 2 * kTolerance)
        << what;
  };
  const auto makeRoot = [&](const glm::dmat4& placement) {
    const auto root = parts.MakeRoot();
    root->AddNode(BodyNode(parts.plate, placement));
    return root;
  };
  const glm::dmat4 mirrored = Move(10, 60, 10) * TurnAboutZ(30) * Mirror();
  Show(*makeRoot(mirrored));
  expectDifferent(*parts.MakeRoot(), "part");
  expectDifferent(*makeRoot(Move(10, 60, 10) * TurnAboutZ(30)), "mirror");
  const auto colored = makeRoot(mirrored);
  static_cast<BrepSceneNode&>(*colored->GetNodes()[2]).SetColor({0.5f, 0.4f, 0.2f});
  expectDifferent(*colored, "color");
}

TEST_F(GLRendererTest, CapsSections) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  root->AddNode(BodyNode(BoxGRep(30, 30, 9), Move(30, 10, -4) * Mirror()));  // overlaps the plate
  root->AddNode(BodyNode(BoxGRep(4, 4, 5), Move(38, 30, 10)));               // within the ring
  Show(*root);
  options_.sections.push_back({{0, -1, 0}, -20.0});
  ExpectSame("one-section");
  options_.sections.push_back({{0, 0, 1}, 14.0});
  options_.sections.push_back({glm::normalize(glm::dvec3(1, -1, 0)), 30.0});
  ExpectSame("three-sections");
  camera_.SetProjection(Camera::Projection::kParallel);
  camera_.SetView(Camera::View::kFront);
  ExpectSame("parallel-sections");
  options_.sections.resize(1);
  renderer_.SetLook({0}, NodeVisibility::Look::kHidden);
  NodeVisibility visibility;
  visibility.Hide(root->GetNodes()[0].get());
  EXPECT_LT(CompareSquares(Draw(), DrawWithRays(std::make_shared<DrawScene>(*root, visibility))),
            2 * kTolerance);
}

TEST_F(GLRendererTest, ChangesHowBodiesAreDrawn) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  Show(*root);
  const Picture plain = Draw();
  const auto expectLike = [&](const NodeVisibility& visibility, const char* what) {
    EXPECT_LT(CompareSquares(Draw(), DrawWithRays(std::make_shared<DrawScene>(*root, visibility))),
              kTolerance)
        << what;
  };
  NodeVisibility hidden, ghost;
  hidden.Hide(root->GetNodes()[1].get());
  ghost.Ghost(root->GetNodes()[1].get());
  renderer_.SetLook({1, 99}, NodeVisibility::Look::kHidden);
  expectLike(hidden, "hidden");
  renderer_.SetLook({1}, NodeVisibility::Look::kGhost);
  expectLike(ghost, "ghost");
  options_.edges = PictureOptions::Edges::kNone;
  options_.sections.push_back({{0, 0, 1}, 14.0});
  expectLike(ghost, "cut ghost");
  options_.edges = PictureOptions::Edges::kSharp;
  options_.sections.clear();
  renderer_.ResetLooks();
  EXPECT_TRUE(Draw().pixels == plain.pixels);

  Selection selection;
  selection.Add(0, 1);
  selection.Add(2);
  renderer_.SetSelection(selection);
  options_.selection = &selection;
  ExpectSame("selected");
  Selection hover;
  hover.Add(1);
  renderer_.SetHover(hover);
  EXPECT_GT(CompareSquares(Draw(), DrawWithRays()), 2 * kTolerance);
  renderer_.SetHover(Selection());
  renderer_.SetSelection(Selection());
  EXPECT_TRUE(Draw().pixels == plain.pixels);

  options_.selection = nullptr;
  renderer_.SetColor({2}, glm::vec3(0.0f, 0.0f, 0.0f));
  static_cast<BrepSceneNode&>(*root->GetNodes()[2]).SetColor({0.0f, 0.0f, 0.0f});
  expectLike(NodeVisibility(), "color");
  renderer_.SetColor({2}, std::nullopt);
  EXPECT_TRUE(Draw().pixels == plain.pixels);

  // Of another scene nothing is left.
  renderer_.SetColor({0, 1, 2}, glm::vec3(1.0f, 0.0f, 1.0f));
  Draw();
  Show(*root);
  renderer_.SetColor({2}, std::nullopt);
  expectLike(NodeVisibility(), "new scene");
}

TEST_F(GLRendererTest, MovesBodiesByOffsets) {
  const Parts parts;
  Show(*parts.MakeRoot());
  renderer_.SetOffsets({{0, 0, 0}, {0, 0, 40}, {30, 0, 0}});
  options_.offsetFactor = 0.5f;
  const auto moved = parts.MakeRoot();
  moved->GetNodes()[1]->SetTransform(Move(40, 20, 32));
  moved->GetNodes()[2]->SetTransform(Move(85, 10, 0));
  camera_.Fit(DrawScene(*moved), 4.0 / 3.0);
  EXPECT_LT(CompareSquares(Draw(), DrawWithRays(std::make_shared<DrawScene>(*moved))), kTolerance);
}

// A few numbers that floats have no digits for.
TEST_F(GLRendererTest, DrawsTheSameFarAway) {
  const Parts parts;
  Show(*parts.MakeRoot());
  camera_.Zoom(3.0, camera_.GetTarget());
  const Picture near = Draw();
  const auto far = std::make_shared<GroupSceneNode>(), group = parts.MakeRoot();
  group->SetTransform(Move(3e9, -2e9, 1e9));
  far->AddNode(group);
  far->AddNode(BodyNode(parts.pin, glm::dmat4(1.0)));  // so that the scene is large, too
  Show(*far);
  camera_ = Camera();
  camera_.Fit(DrawScene(*group), 4.0 / 3.0);
  camera_.Zoom(3.0, camera_.GetTarget());
  EXPECT_LT(CompareSquares(Draw(), near), kTolerance);
}

TEST_F(GLRendererTest, TellsWhatIsSeen) {
  const Parts parts;
  Show(*parts.MakeRoot());
  EXPECT_FALSE(renderer_.Pick(100, 100).IsHit());
  options_.sections.push_back({{0, -1, 0}, -20.0});
  Draw();
  const auto caster = std::make_shared<RayCaster>(scene_);
  const FaceMap map = PictureRenderer(caster).DrawFaces(camera_, options_);
  int hits = 0, wrong = 0;
  for (int y = 3; y < map.height; y += 17) {
    for (int x = 3; x < map.width; x += 17) {
      const GLRenderer::Seen seen = renderer_.Pick(x, y);
      const FaceMap::Entry& wanted = map.Get(x, y);
      hits += seen.IsHit() ? 1 : 0;
      wrong += seen.entry.placement != wanted.placement || (seen.IsHit() && seen.entry.face != wanted.face)
                   ? 1
                   : 0;
      if (!seen.IsHit()) continue;
      const glm::dvec2 back(camera_.Project(seen.point, {map.width, map.height}));
      EXPECT_LT(glm::distance(back, glm::dvec2(x + 0.5, y + 0.5)), 1.0);
      if ((seen.entry.face & FaceMap::kCut) != 0) {
        EXPECT_NEAR(seen.point.y, 20.0, 1e-3);
      }
    }
  }
  EXPECT_GT(hits, 40);
  EXPECT_LE(wrong, 3);  // at outlines: the last sample does not lie in the middle
  EXPECT_FALSE(renderer_.Pick(-1, 0).IsHit());
  EXPECT_FALSE(renderer_.Pick(300, 224).IsHit());
}

TEST_F(GLRendererTest, SendsAPieceAtATimeAndNothingTwice) {
  const Parts parts;
  Show(*parts.MakeRoot());
  options_.samples = 1;
  options_.uploadBytes = 0;
  const Picture whole = Draw();
  renderer_.Release();
  options_.uploadBytes = 500;
  gl_.Begin(options_.width, options_.height);
  int frames = 1;
  while (frames < 10000 && !renderer_.Draw(camera_, options_).isUploaded)
    ++frames;
  EXPECT_GT(frames, 20);
  EXPECT_TRUE(Draw().pixels == whole.pixels);

  const auto more = parts.MakeRoot();
  static_cast<BrepSceneNode&>(*more->GetNodes()[0]).SetColor({0.1f, 0.9f, 0.1f});
  more->AddNode(BodyNode(parts.ring, Move(0, 0, 30)));
  renderer_.SetScene(std::make_shared<DrawScene>(*more));
  gl_.Begin(options_.width, options_.height);
  EXPECT_TRUE(renderer_.Draw(camera_, options_).isUploaded);
  options_.height = 0;
  EXPECT_TRUE(renderer_.Draw(camera_, options_).isRefined);
  options_.height = 225;
  renderer_.SetScene(nullptr);
  EXPECT_LT(CompareSquares(Draw(), DrawWithRays(std::make_shared<DrawScene>(GroupSceneNode()))), 1.0);
}

TEST_F(GLRendererTest, OutlivesItsContext) {
  const Parts parts;
  Show(*parts.MakeRoot());
  Selection selection;
  selection.Add(1);
  renderer_.SetSelection(selection);
  renderer_.SetLook({2}, NodeVisibility::Look::kGhost);
  options_.sections.push_back({{0, -1, 0}, -20.0});
  const Picture first = Draw();
  {
    OffscreenGL other;
    renderer_.Forget();
    other.Begin(options_.width, options_.height);
    while (!renderer_.Draw(camera_, options_).isRefined) {
    }
    EXPECT_TRUE(other.Read().pixels == first.pixels);
    renderer_.Release();
  }
  EXPECT_TRUE(Draw().pixels == first.pixels);
}

TEST_F(GLRendererTest, DrawsIntoAPartOfWhatIsThere) {
  const Parts parts;
  Show(*parts.MakeRoot());
  options_.background = PictureOptions::Background::kNone;
  options_.samplesAtOnce = options_.samples;  // as each call draws over what is there
  const Picture alone = Draw(), wanted = DrawWithRays();
  EXPECT_LT(CompareSquares(alone, Premultiply(wanted)), kTolerance);
  gl_.Begin(500, 400);
  gl_.Fill({0.0f, 0.0f, 1.0f});
  gl_.SetViewport(100, 50);
  while (!renderer_.Draw(camera_, options_).isRefined) {
  }
  const Picture within = gl_.Read();
  EXPECT_EQ(within.GetPixel(5, 5)[2], 255);
  const int top = 400 - 50 - options_.height;
  int off = 0, covered = 0;
  for (int y = 0; y < options_.height; ++y) {
    for (int x = 0; x < options_.width; ++x) {
      const std::uint8_t *own = alone.GetPixel(x, y), *there = within.GetPixel(100 + x, top + y);
      if (own[3] == 255) ++covered;
      if (own[3] == 255 && std::abs(own[0] - there[0]) > 1) ++off;
      if (own[3] == 0 && (there[0] != 0 || there[2] != 255)) ++off;
    }
  }
  EXPECT_GT(covered, 5000);
  EXPECT_EQ(off, 0);
  EXPECT_EQ(gl_.CountErrors(), 0);
}

// Most of them smaller than a pixel, or out of view.
TEST_F(GLRendererTest, DrawsAHundredThousandBodies) {
  const auto root = std::make_shared<GroupSceneNode>();
  for (int i = 0; i < 100000; ++i) {
    const auto node = BodyNode(BoxGRep(4, 5, 6), Move(10.0 * (i % 317), 10.0 * (i / 317), 0));
    node->SetColor(i / 317 < 100 ? glm::vec3(0.8f, 0.2f, 0.1f) : glm::vec3(0.1f, 0.3f, 0.8f));
    root->AddNode(node);
  }
  Show(*root);
  camera_.SetView(Camera::View::kTop);
  camera_.Fit(*scene_, 4.0 / 3.0);
  options_.samples = 64;
  options_.edges = PictureOptions::Edges::kNone;
  // Rays in rows and columns of bodies in rows and columns make stripes that are not there.
  EXPECT_LT(CompareSquares(Draw(), DrawWithRays()), 1.5 * kTolerance);
  camera_.Zoom(25.0, {1000.0, 1000.0, 0.0});
  options_.samples = 9;
  options_.edges = PictureOptions::Edges::kSharp;
  ExpectSame("near");
}

#ifdef MIREL_PROGRAM
TEST_F(GLRendererTest, DrawsTheSampleAsRaysDo) {
  const TestFolder folder;
  const std::string saved = folder.GetPath() + "trolley";
  ASSERT_TRUE(RunProgram({MIREL_PROGRAM, "save", MIREL_SAMPLE, saved}).Succeeded());
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(saved + "/index.gz", nullptr);
  ASSERT_TRUE(root);
  options_.width = 600;
  options_.height = 450;
  Show(*root);
  ExpectSame("trolley");
  const AABoxT<double>& box = scene_->GetBox();
  options_.sections.push_back({{0, -1, 0}, -(box.GetMin().y + box.GetMax().y) / 2});
  ExpectSame("trolley-section");
}
#endif

// The same executable, run by the tests below with what makes Mesa older than it is.
TEST(GLRendererOldTest, DISABLED_PrintsObstacle) {
  OffscreenGL gl;
  gl.Begin(8, 8);
  try {
    GLRenderer().Draw(Camera(), GLViewOptions());
  } catch (const GLError& error) {
    std::printf("obstacle: %s\n", error.what());
  }
}

ChildRun RunSelf(const std::string& test, const std::map<std::string, std::string>& environment) {
  return RunProgram(
      {"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_filter=GLRenderer*." + test}, [&] {
        for (const auto& [name, value] : environment)
          setenv(name.c_str(), value.c_str(), 1);
      });
}

TEST_F(GLRendererTest, SaysWhatItNeeds) {
  if (!gl_.IsMesa()) GTEST_SKIP() << "only Mesa can be made older than it is";
  const std::string output = RunSelf("DISABLED_PrintsObstacle", {{"MESA_GL_VERSION_OVERRIDE", "4.2"}}).output;
  EXPECT_NE(output.find("OpenGL 4.3 is needed; found: OpenGL 4.2"), std::string::npos) << output;
}

TEST_F(GLRendererTest, NeedsNoReversedDepths) {
  if (!gl_.IsMesa()) GTEST_SKIP() << "only Mesa can be made older than it is";
  const ChildRun run =
      RunSelf("DrawsWhatRaysDraw:*.CapsSections",
              {{"MESA_GL_VERSION_OVERRIDE", "4.3"}, {"MESA_EXTENSION_OVERRIDE", "-GL_ARB_clip_control"}});
  EXPECT_TRUE(run.Succeeded()) << run.output;
  EXPECT_NE(run.output.find("[  PASSED  ] 2 tests"), std::string::npos) << run.output;
}

}  // namespace
}  // namespace mirel

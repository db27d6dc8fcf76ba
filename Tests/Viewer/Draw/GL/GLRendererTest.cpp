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
#include <cstdlib>

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

}  // namespace
}  // namespace mirel

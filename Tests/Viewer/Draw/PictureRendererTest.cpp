#include <Viewer/Draw/PictureRenderer.h>

#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Viewer/Draw/Selection.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepAlgoAPI_Common.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepGProp.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <GProp_GProps.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Pln.hxx>

#include <gtest/gtest.h>

#include <atomic>
#include <set>

namespace mirel {
namespace {

PictureOptions Small() {
  PictureOptions options;
  options.width = 240;
  options.height = 180;
  return options;
}

Picture Draw(const SceneNode& root, const PictureOptions& options,
             const NodeVisibility& visibility = NodeVisibility()) {
  const std::shared_ptr<const RayCaster> caster = MakeCaster(root, visibility);
  Camera camera;
  camera.Fit({{0, 0, 0}, {76, 0, 0}, {76, 40, 0}, {0, 40, 16}, {76, 0, 25}}, 4.0 / 3.0);
  return PictureRenderer(caster).Draw(camera, options);
}

TEST(PictureRendererTest, DrawsTheSameAgainOnAnyNumberOfThreads) {
  const Parts parts;
  PictureOptions options = Small();
  options.sections.push_back({{0, 0, 1}, 14.0});
  NodeVisibility visibility;
  const auto root = parts.MakeRoot();
  visibility.Ghost(root->GetNodes()[2].get());
  options.threads = 1;
  const Picture first = Draw(*root, options, visibility);
  for (const unsigned threads : {1u, 2u, 7u}) {
    options.threads = threads;
    EXPECT_TRUE(Draw(*root, options, visibility).pixels == first.pixels) << threads;
  }
}

// What a comparison with a reference must notice, each broken on purpose.
// What is left out beside the scene is beside it: from all sides, along its box too, near and far away.
TEST(PictureRendererTest, LooksForFacesWhereverTheyAre) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  const std::shared_ptr<const RayCaster> caster = MakeCaster(*root);
  const PictureOptions options = Small();
  const glm::dvec2 size(options.width, options.height);
  for (const glm::dvec3& from : {glm::dvec3(1, -1, 1), glm::dvec3(0, -1, 0), glm::dvec3(0.01, 0, -1)}) {
    for (const double zoom : {1.0, 8.0, 0.01}) {
      Camera camera;
      if (zoom > 1.0) camera.SetProjection(Camera::Projection::kParallel);
      ASSERT_TRUE(camera.SetDirection(from, {0, 0, 1}));
      camera.Fit(caster->GetScene(), size.x / size.y);
      camera.Zoom(zoom, camera.GetTarget());
      const FaceMap map = PictureRenderer(caster).DrawFaces(camera, options);
      int wrong = 0;
      for (int i = 0; i < options.width * options.height; ++i) {
        const glm::dvec2 middle(i % options.width + 0.5, i / options.width + 0.5);
        const RayHit hit = caster->Cast(camera.GetRay(middle, size));
        wrong += map.entries[static_cast<std::size_t>(i)].placement != hit.placement ? 1 : 0;
      }
      EXPECT_EQ(wrong, 0) << from.x << " " << from.y << " " << zoom;
    }
  }
}

TEST(PictureRendererTest, ShowsWrongColorsMissingPartsAndFlippedFaces) {
  const Parts parts;
  const Picture good = Draw(*parts.MakeRoot(), Small());
  const auto expectDifferent = [&](const SceneNode& root, const char* what) {
    EXPECT_GT(ComparePixels(good, Draw(root, Small()), 12), 0.004) << what;
  };
  const auto colored = parts.MakeRoot();
  static_cast<BrepSceneNode&>(*colored->GetNodes()[2]).SetColor({0.7f, 0.25f, 0.4f});
  expectDifferent(*colored, "color");

  const auto painted = parts.MakeRoot();
  static_cast<BrepSceneNode&>(*painted->GetNodes()[2]).SetFaceColor(1, {0.2f, 0.7f, 0.2f});
  expectDifferent(*painted, "face color");

  const auto incomplete = std::make_shared<GroupSceneNode>();
  const auto complete = parts.MakeRoot();
  incomplete->AddNode(complete->GetNodes()[0]);
  incomplete->AddNode(complete->GetNodes()[1]);
  expectDifferent(*incomplete, "part");

  BRep_Builder builder;
  TopoDS_Compound flipped;
  builder.MakeCompound(flipped);
  for (TopExp_Explorer face(parts.pin->GetShape()->GetImpl(), TopAbs_FACE); face.More(); face.Next())
    builder.Add(flipped, flipped.NbChildren() == 0 ? face.Current().Reversed() : face.Current());
  Parts others = parts;
  others.pin = MeshOf(flipped);
  expectDifferent(*others.MakeRoot(), "face");
}

TEST(PictureRendererTest, KeepsWhatIsBehindFreeWithoutBackground) {
  PictureOptions options = Small();
  options.background = PictureOptions::Background::kNone;
  const Parts parts;
  const Picture picture = Draw(*parts.MakeRoot(), options);
  EXPECT_EQ(picture.GetPixel(0, 0)[3], 0);
  EXPECT_EQ(picture.GetPixel(120, 110)[3], 255);
  options.background = PictureOptions::Background::kColor;
  options.backgroundColor = {1.0f, 0.0f, 0.5f};
  const Picture pink = Draw(GroupSceneNode(), options);
  const std::uint8_t* const pixel = pink.GetPixel(7, 7);
  EXPECT_EQ((std::vector<int>(pixel, pixel + 4)), (std::vector<int>{255, 0, 128, 255}));
}

TEST(PictureRendererTest, IsCalledOff) {
  const Parts parts;
  PictureOptions options = Small();
  std::atomic<bool> isCancelled{false};
  options.isCancelled = &isCancelled;
  EXPECT_TRUE(Draw(*parts.MakeRoot(), options).pixels == Draw(*parts.MakeRoot(), Small()).pixels);
  isCancelled = true;
  const Picture nothing(options.width, options.height);
  EXPECT_TRUE(Draw(*parts.MakeRoot(), options).pixels == nothing.pixels);
}

TEST(PictureRendererTest, HasLimits) {
  for (const auto& [width, height] :
       {std::pair(0, 10), {10, 0}, {-5, 10}, {100000, 10}, {10, 100000}, {20000, 20000}}) {
    PictureOptions options;
    options.width = width;
    options.height = height;
    EXPECT_TRUE(Draw(GroupSceneNode(), options).pixels.empty());
    EXPECT_TRUE(PictureRenderer(MakeCaster(GroupSceneNode())).DrawFaces(Camera(), options).entries.empty());
  }
  PictureOptions options = Small();
  options.width = options.height = 1;
  options.samples = -3;
  EXPECT_EQ(Draw(*Parts().MakeRoot(), options).pixels.size(), 4u);
}

// Faces that meet smoothly have no line between them, and a seam never has.
TEST(PictureRendererTest, DrawsSharpEdgesAndNoSeams) {
  const auto root = std::make_shared<GroupSceneNode>();
  root->AddNode(
      BodyNode(MeshOf(BRepPrimAPI_MakeCylinder(10, 30).Shape()), TurnAboutZ(-45)));  // its seam in front
  const auto caster = MakeCaster(*root);
  Camera camera;
  camera.SetView(Camera::View::kFront);
  camera.Fit(caster->GetScene(), 4.0 / 3.0);
  PictureOptions options = Small();
  options.ambientOcclusion = false;
  const auto darkest = [&](PictureOptions::Edges edges, int x, int y) {
    options.edges = edges;
    const Picture picture = PictureRenderer(caster).Draw(camera, options);
    int value = 255;
    for (int i = -4; i <= 4; ++i)
      value = std::min(value, int{picture.GetPixel(x + i, y + i)[1]});
    return value;
  };
  const glm::dvec3 rim = camera.Project({0, -10, 30}, {240, 180}),
                   side = camera.Project({10, 0, 15}, {240, 180});
  using Edges = PictureOptions::Edges;
  for (const glm::ivec2& place : {glm::ivec2(rim), glm::ivec2(side)})
    EXPECT_LT(darkest(Edges::kSharp, place.x, place.y) + 12, darkest(Edges::kNone, place.x, place.y));
  for (const Edges edges : {Edges::kSharp, Edges::kAll})
    EXPECT_EQ(darkest(edges, 120, 90), darkest(Edges::kNone, 120, 90));
}

// Nor have the sides of a round, however small it is in the picture.
TEST(PictureRendererTest, DrawsNoLinesAlongRounds) {
  const auto root = std::make_shared<GroupSceneNode>();
  root->AddNode(BodyNode(RoundedBoxGRep(), glm::dmat4(1.0)));
  const auto caster = MakeCaster(*root);
  Camera camera;
  camera.SetDirection({0, -1, 1}, {0, 0, 1});
  camera.Fit(caster->GetScene(), 4.0 / 3.0);
  PictureOptions options = Small();
  const Picture lines = PictureRenderer(caster).Draw(camera, options);
  options.edges = PictureOptions::Edges::kNone;
  const Picture plain = PictureRenderer(caster).Draw(camera, options);
  const int middle = static_cast<int>(camera.Project({0, 0, 0}, {240, 180}).y);
  int differences = 0;
  for (int y = middle - 9; y < middle + 9; ++y)
    differences += lines.GetPixel(120, y)[1] != plain.GetPixel(120, y)[1] ? 1 : 0;
  EXPECT_EQ(differences, 0);
}

// Wires, and edges of other bodies that no face has, are lines in their colours: in front of what is behind them, behind what
// is in front, and cut by section planes.
TEST(PictureRendererTest, DrawsEdgesWithoutFaces) {
  const auto wire = BodyNode(
      MeshOf(BRepBuilderAPI_MakePolygon(gp_Pnt(-20, 0, 0), gp_Pnt(0, 0, 0), gp_Pnt(30, 0, 0)).Shape()),
      Move(0, 5, 3));
  wire->SetColor({1, 0, 0});
  BRep_Builder builder;
  TopoDS_Compound mixed;
  builder.MakeCompound(mixed);
  builder.Add(mixed, BRepPrimAPI_MakeBox(gp_Pnt(0, 0, 0), 10, 10, 10).Shape());
  builder.Add(mixed, BRepBuilderAPI_MakeEdge(gp_Pnt(-20, -5, 8), gp_Pnt(30, -5, 8)).Shape());
  const auto box = BodyNode(MeshOf(mixed), glm::dmat4(1.0));
  box->SetColor({0, 1, 0});
  const auto root = std::make_shared<GroupSceneNode>();
  root->AddNode(wire);
  root->AddNode(box);
  const auto caster = MakeCaster(*root);
  const DrawScene& scene = caster->GetScene();
  EXPECT_EQ(scene.GetPlacementCount(), 1u);
  ASSERT_EQ(scene.GetWires().size(), 1u);
  EXPECT_EQ(scene.GetBox().GetMin(), glm::dvec3(-20, -5, 0));
  for (const auto projection : {Camera::Projection::kParallel, Camera::Projection::kPerspective}) {
    Camera camera;
    camera.SetProjection(projection);
    camera.SetView(Camera::View::kFront);
    camera.Fit(scene, 4.0 / 3.0);
    PictureOptions options = Small();
    options.background = PictureOptions::Background::kNone;
    const auto find = [&](double x, double y, double z) {
      const glm::dvec3 place = camera.Project({x, y, z}, {240, 180});
      const Picture picture = PictureRenderer(caster).Draw(camera, options);
      const std::uint8_t* const p = picture.GetPixel(static_cast<int>(place.x), static_cast<int>(place.y));
      return p[3] < 128 ? 'n' : p[0] > p[1] + 20 ? 'r' : p[1] > p[0] + 20 ? 'g' : '?';
    };
    EXPECT_EQ(find(-15, 5, 3), 'r');
    EXPECT_EQ(find(25, 5, 3), 'r');
    EXPECT_EQ(find(5, 5, 3), 'g');  // inside the box
    EXPECT_EQ(find(-15, -5, 8), 'g');
    EXPECT_EQ(find(25, -5, 8), 'g');
    EXPECT_EQ(find(-15, 0, 5), 'n');
    options.sections.push_back({{1, 0, 0}, 20.0});
    EXPECT_EQ(find(25, 5, 3), 'n');
    EXPECT_EQ(find(25, -5, 8), 'n');
    EXPECT_EQ(find(15, 5, 3), 'r');
    options.sections.clear();
    camera.SetView(Camera::View::kBack);
    EXPECT_EQ(find(-15, 5, 3), 'r');
  }
}

TEST(PictureRendererTest, ShowsWhatIsSelected) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  Selection selection;
  PictureOptions options = Small();
  options.selection = &selection;
  const Picture plain = Draw(*root, options);
  EXPECT_EQ(CompareMean(plain, Draw(*root, Small())), 0.0);
  selection.Toggle(0, 5);
  const double face = CompareMean(plain, Draw(*root, options));
  EXPECT_GT(face, 0.2);
  selection.Add(0);
  EXPECT_GT(CompareMean(plain, Draw(*root, options)), face);
  selection.Remove(0);
  selection.Toggle(0, 5);
  EXPECT_EQ(CompareMean(plain, Draw(*root, options)), 0.0);
}

// The area of the cut through each body is that of the exact body's section, up to the deflection of its outline and
// the width of a pixel.
TEST(PictureRendererTest, CutsBodiesWhereTheyAreSolid) {
  const Parts parts;
  const auto root = parts.MakeRoot();
  const auto caster = MakeCaster(*root);
  const struct {
    glm::dvec3 normal;
    double offset;
  } planes[] = {{{0, 0, 1}, 4.0}, {{0, 0, 1}, 13.0}, {{0, 1, 0}, 17.0}, {{-0.8, 0.0, 0.6}, -25.0}};
  for (const auto& plane : planes) {
    PictureOptions options;
    options.width = options.height = 1000;
    options.sections.push_back({plane.normal, plane.offset});
    Camera camera;
    camera.SetProjection(Camera::Projection::kParallel);
    camera.SetDirection(plane.normal, {0.1, 0.2, 1});
    camera.Fit(caster->GetScene(), 1.0);
    const FaceMap map = PictureRenderer(caster).DrawFaces(camera, options);
    const double pixel = camera.GetHeight() / 1000;
    for (std::uint32_t body = 0; body < 3; ++body) {
      std::size_t count = 0;
      for (const FaceMap::Entry& entry : map.entries)
        count += entry.placement == body && entry.face == FaceMap::kCut ? 1 : 0;
      const DrawBatch& batch = caster->GetScene().GetBatch(body);
      const TopoDS_Shape exact = batch.grep->GetShape()->GetImpl().Moved([&] {
        gp_Trsf move;
        move.SetTranslation({batch.placements[0][3].x, batch.placements[0][3].y, batch.placements[0][3].z});
        return TopLoc_Location(move);
      }());
      const glm::dvec3 origin = plane.normal * plane.offset;
      const gp_Pln through(gp_Pnt(origin.x, origin.y, origin.z),
                           gp_Dir(plane.normal.x, plane.normal.y, plane.normal.z));
      GProp_GProps area, outline;
      const TopoDS_Shape section =
          BRepAlgoAPI_Common(exact, BRepBuilderAPI_MakeFace(through, -500, 500, -500, 500).Shape());
      BRepGProp::SurfaceProperties(section, area);
      BRepGProp::LinearProperties(section, outline);
      const double tolerance = outline.Mass() * (batch.grep->GetMesh().linearDeflection + pixel / 4);
      EXPECT_NEAR(static_cast<double>(count) * pixel * pixel, area.Mass(), tolerance + 1e-9)
          << "body " << body << " offset " << plane.offset;
    }
  }
}

// A sheet has no inside: nothing of it is solid where it is cut.
TEST(PictureRendererTest, CutsSheetsOpen) {
  BRep_Builder builder;
  TopoDS_Compound sheet;
  builder.MakeCompound(sheet);
  for (TopExp_Explorer face(BRepPrimAPI_MakeBox(10, 10, 10).Shape(), TopAbs_FACE); face.More(); face.Next()) {
    if (sheet.NbChildren() < 5) builder.Add(sheet, face.Current());
  }
  const auto root = std::make_shared<GroupSceneNode>();
  root->AddNode(BodyNode(MeshOf(sheet), glm::dmat4(1.0)));
  const auto caster = MakeCaster(*root);
  Camera camera;
  camera.Fit(caster->GetScene(), 1.0);
  PictureOptions options = Small();
  options.sections.push_back({{0, -1, 0}, -5.0});
  for (const FaceMap::Entry& entry : PictureRenderer(caster).DrawFaces(camera, options).entries)
    ASSERT_TRUE(entry.placement == FaceMap::kNothing || entry.face < FaceMap::kCut);
}

TEST(PictureTest, IsSavedAndReadBack) {
  const TestFolder folder;
  const std::string path = folder.GetPath() + "Größe.png";
  Picture picture(5, 150);  // several strips
  for (std::size_t i = 0; i < picture.pixels.size(); ++i)
    picture.pixels[i] = static_cast<std::uint8_t>(i * 37);
  std::string reason;
  for (const bool opaque : {false, true}) {
    for (std::size_t i = 3; opaque && i < picture.pixels.size(); i += 4)
      picture.pixels[i] = 255;
    ASSERT_TRUE(picture.Save(path, reason)) << reason;
    EXPECT_NE(ReadFile(path).find("sRGB"), std::string::npos);
    Picture read;
    ASSERT_TRUE(read.Load(path, reason)) << reason;
    EXPECT_EQ(read.width, 5);
    EXPECT_TRUE(read.pixels == picture.pixels);
  }
  EXPECT_EQ(folder.ListFiles(), "Größe.png");

  EXPECT_FALSE(picture.Save(folder.GetPath() + "no/such/folder.png", reason));
  EXPECT_EQ(reason, "No such file or directory");
  EXPECT_FALSE(Picture().Save(path, reason));
  EXPECT_FALSE(picture.Load(folder.GetPath() + "missing.png", reason));
  WriteFile(path, ReadFile(path).substr(0, 60));
  EXPECT_FALSE(picture.Load(path, reason));
  EXPECT_TRUE(picture.pixels.empty());
}

}  // namespace
}  // namespace mirel

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Programs/mirel/Picture/SceneExtent.h>
#include <Programs/mirel/Picture/SheetMaker.h>
#include <Programs/mirel/Picture/TextPainter.h>

#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepBndLib.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <Bnd_Box.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Ax1.hxx>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace mirel {
namespace {

Picture MakeSheet(const SceneNode& root, const PictureOptions& options, const std::string& title,
                  std::string* note = nullptr) {
  const auto caster = MakeCaster(root);
  const PictureRenderer renderer(caster);
  SheetMaker sheet(renderer, caster->GetScene(), options);
  Picture picture = sheet.Make(title);
  if (note != nullptr) *note = sheet.GetNote();
  return picture;
}

PictureOptions SheetOptions() {
  PictureOptions options;
  options.width = 640;
  options.height = 480;
  return options;
}

// Where pixels that are red or green lie.
struct ColoredPart {
  int left = 1 << 20, top = 1 << 20, right = -1, bottom = -1;

  ColoredPart(const Picture& picture, int fromX, int fromY, int toX, int toY) {
    for (int y = fromY; y < toY; ++y) {
      for (int x = fromX; x < toX; ++x) {
        const std::uint8_t* const p = picture.GetPixel(x, y);
        if (std::abs(int{p[0]} - int{p[1]}) < 25) continue;
        left = std::min(left, x);
        right = std::max(right, x + 1);
        top = std::min(top, y);
        bottom = std::max(bottom, y + 1);
      }
    }
  }
};

TEST(SheetTest, PutsTheViewsInLineAndAtOneScale) {
  const auto root = std::make_shared<GroupSceneNode>();
  const auto node = BodyNode(BoxGRep(60, 40, 20), Move(1000, -500, 7));
  node->SetColor({0.9f, 0.1f, 0.1f});
  node->SetFaceColor(1, {0.1f, 0.9f, 0.1f});  // towards +x: seen from the right
  root->AddNode(node);
  const Picture sheet = MakeSheet(*root, SheetOptions(), "box");
  const int middleX = 383, middleY = 250;
  const ColoredPart top(sheet, 0, 0, middleX, middleY), front(sheet, 0, middleY, middleX, 430),
      right(sheet, middleX, middleY, 640, 430);
  const double scale = (front.right - front.left) / 60.0;
  EXPECT_GT(scale, 3.0);
  EXPECT_NEAR(front.bottom - front.top, 20 * scale, 2);
  EXPECT_NEAR(top.bottom - top.top, 40 * scale, 2);
  EXPECT_NEAR(right.right - right.left, 40 * scale, 2);
  EXPECT_NEAR(top.left, front.left, 1);
  EXPECT_NEAR(top.right, front.right, 1);
  EXPECT_NEAR(right.top, front.top, 1);
  EXPECT_NEAR(right.bottom, front.bottom, 1);
  const auto isGreen = [&](const ColoredPart& part) {
    const std::uint8_t* const p = sheet.GetPixel((part.left + part.right) / 2, (part.top + part.bottom) / 2);
    return p[1] > p[0];
  };
  EXPECT_TRUE(isGreen(right) && !isGreen(front) && !isGreen(top));

  // The same again on any number of threads; and what it says depends on what there is to say.
  PictureOptions options = SheetOptions();
  for (const unsigned threads : {1u, 5u}) {
    options.threads = threads;
    EXPECT_TRUE(MakeSheet(*root, options, "box").pixels == sheet.pixels);
  }
  EXPECT_FALSE(MakeSheet(*root, options, "box 2").pixels == sheet.pixels);
  node->SetTransform(glm::dmat4(0.5));  // half as large: the same picture with other numbers
  EXPECT_FALSE(MakeSheet(*root, options, "box").pixels == sheet.pixels);
}

// As OpenCASCADE measures the exact body, although its triangles cut the corners of what is round.
TEST(SheetTest, MeasuresWhatIsDrawn) {
  gp_Trsf turn;
  turn.SetRotation(gp_Ax1(gp_Pnt(3, 0, 1), gp_Dir(0, 0, 1)), 0.7);
  gp_Trsf tilt;
  tilt.SetRotation(gp_Ax1(gp_Pnt(0, 0, 0), gp_Dir(1, 2, 3)), 1.1);
  const struct {
    TopoDS_Shape shape;
    gp_Trsf placement;
    double tolerance;  // in deflections
  } cases[] = {{BRepPrimAPI_MakeCylinder(50, 20).Shape(), turn, 1e-5},
               {BRepPrimAPI_MakeCylinder(50, 20).Shape(), tilt, 2.0},
               {BRepPrimAPI_MakeSphere(13).Shape(), tilt, 1e-5},
               {BRepPrimAPI_MakeTorus(40, 9).Shape(), tilt, 1e-5},
               {BRepPrimAPI_MakeTorus(40, 9).Shape(), gp_Trsf(), 1e-5},
               {BRepPrimAPI_MakeBox(30, 20, 10).Shape(), gp_Trsf(), 1e-5},
               {BRepPrimAPI_MakeBox(30, 20, 10).Shape(), tilt, 0.2}};
  for (const auto& one : cases) {
    const auto root = std::make_shared<GroupSceneNode>();
    const auto grep = MakeGRep(std::make_shared<TopoShape>(one.shape));
    glm::dmat4 placement(1.0);
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 4; ++column)
        placement[column][row] = one.placement.Value(row + 1, column + 1);
    }
    root->AddNode(BodyNode(grep, placement));
    const AABoxT<double> extent = FindSceneExtent(DrawScene(*root));
    ASSERT_TRUE(extent.IsFinite());
    Bnd_Box exact;
    BRepBndLib::AddOptimal(one.shape.Moved(TopLoc_Location(one.placement)), exact, false, false);
    const double tolerance = one.tolerance * grep->GetMesh().linearDeflection + 2e-6;
    const gp_Pnt low = exact.CornerMin(), high = exact.CornerMax();
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(extent.GetMin()[axis], low.Coord(axis + 1), tolerance) << &one - cases << " axis " << axis;
      EXPECT_NEAR(extent.GetMax()[axis], high.Coord(axis + 1), tolerance) << &one - cases << " axis " << axis;
    }
  }
  EXPECT_TRUE(FindSceneExtent(DrawScene(GroupSceneNode())).IsEmpty());
}

TEST(SheetTest, WritesAnyScript) {
  TextPainter painter;
  const auto ink = [&](const std::string& text, const TextPainter::Style& style) {
    const TextImage image = painter.Draw(text, style);
    return std::count_if(image.cover.begin(), image.cover.end(), [](std::uint8_t c) { return c > 127; });
  };
  EXPECT_GT(ink("工具车", {24, true, 0}), ink("一", {24, true, 0}) * 3);
  EXPECT_GT(ink("Größe Ø100", {24, false, 0}), 100);
  EXPECT_GT(ink("عربة", {24, false, 0}), 50);
  EXPECT_TRUE(painter.GetTextsWithoutFont().empty()) << painter.GetTextsWithoutFont().front();

  EXPECT_EQ(painter.Draw("", {24, false, 100}).width, 0);
  const TextPainter::Style narrow = {24, false, 100};
  for (const std::string& text : {std::string(1000000, 'W'), std::string("a\xff\xc3\nb\0c", 7),
                                  std::string(5000, '\x01'), std::string("\xe2\x80\xae") + "txet"})
    EXPECT_LE(painter.Draw(text, narrow).width, 100);
  EXPECT_TRUE(painter.GetTextsWithoutFont().empty());
  ink("\xf4\x8f\xbf\xbd", narrow);  // a character that will never have a meaning
  EXPECT_EQ(painter.GetTextsWithoutFont().size(), 1u);
}

TEST(SheetTest, DrawsOddModels) {
  std::string note;
  EXPECT_EQ(MakeSheet(GroupSceneNode(), SheetOptions(), "", &note).width, 640);
  EXPECT_EQ(note, "");
  // Flat, thin, tiny, large and far away.
  for (const glm::dvec3& size : {glm::dvec3(1000, 1, 1), {1, 1, 1000}, {1e-4, 2e-4, 1e-4}, {9e6, 9e6, 1}}) {
    const auto root = std::make_shared<GroupSceneNode>();
    root->AddNode(BodyNode(BoxGRep(size.x, size.y, size.z), Move(1e8, 0, 0)));
    for (const auto& [width, height] : {std::pair(320, 240), {320, 2000}, {2000, 240}}) {
      PictureOptions options;
      options.width = width;
      options.height = height;
      EXPECT_EQ(MakeSheet(*root, options, "odd").height, height);
    }
  }
}

// The picture in the guide; its letters may be of another font.
TEST(SheetTest, IsDrawnByTheProgram) {
  const TestFolder folder;
  const std::string model = folder.GetPath() + "model", out = folder.GetPath() + "out.png";
  std::string text, err;
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, model}), 0);
  Picture reference, picture;
  ASSERT_TRUE(reference.Load(MIREL_SOURCE_DIR "/docs/trolley-sheet.png", err)) << err;
  ASSERT_EQ(Mirel({"picture", "--sheet", "--size", "800x600", model, out}, text, &err), 0);
  EXPECT_EQ(err, "");
  ASSERT_TRUE(picture.Load(out, err)) << err;
  EXPECT_LT(ComparePixels(reference, picture, 12), 0.01);
  ASSERT_EQ(Mirel({"picture", "--sheet", "--size", "800x600", "--hide", "drawer bottom", model, out}), 0);
  ASSERT_TRUE(picture.Load(out, err)) << err;
  EXPECT_GT(ComparePixels(reference, picture, 12), 0.01);

  ASSERT_EQ(Mirel({"picture", "--sheet", model, out}, text, &err), 0);
  const std::string first = ReadFile(out);
  ASSERT_EQ(Mirel({"picture", "--sheet", model + "/index.gz", out}, text, &err), 0);
  EXPECT_EQ(ReadFile(out), first);
  EXPECT_EQ(Mirel({"picture", "--sheet", "--strict", "--hide", "工具车", model, out}, text, &err), 4);
  EXPECT_NE(err.find("nothing is to be seen"), std::string::npos);

  // Where no font is installed, the sheet is drawn all the same.
  WriteFile(folder.GetPath() + "fonts.conf",
            "<fontconfig><dir>" + folder.GetPath() + "none</dir></fontconfig>");
  const std::string command = "FONTCONFIG_FILE=" + folder.GetPath() +
                              "fonts.conf '" MIREL_PROGRAM "' picture --sheet " + model + " " + out + " 2> " +
                              folder.GetPath() + "err";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_NE(ReadFile(folder.GetPath() + "err").find("no font that is installed has all characters of"),
            std::string::npos);
  EXPECT_TRUE(picture.Load(out, err)) << err;
}

}  // namespace
}  // namespace mirel

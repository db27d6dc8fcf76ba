#include <Tests/Docs/MarkdownFile.h>
#include <Tests/Programs/mirel/BodyRays.h>
#include <Tests/Programs/mirel/Damage.h>
#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Programs/mirel/XcafColors.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Viewer/Draw/Picture.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <TopExp_Explorer.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_GTrsf.hxx>
#include <gp_Lin.hxx>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>

namespace mirel {
namespace {

namespace fs = std::filesystem;

class PictureVerbTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    scratch_ = std::make_unique<TestFolder>();
    ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, scratch_->GetPath() + "trolley"}), 0);
  }
  static void TearDownTestSuite() { scratch_.reset(); }

  // Draws the sample with these options too.
  int Draw(std::vector<std::string> options, const std::string& input = scratch_->GetPath() + "trolley") {
    options.insert(options.begin(), {"picture", input, out_});
    const int code = Mirel(options, text_, &err_);
    std::string reason;
    picture_ = Picture();
    picture_.Load(out_, reason);
    return code;
  }

  static std::unique_ptr<TestFolder> scratch_;
  const TestFolder folder_;
  const std::string out_ = folder_.GetPath() + "out.png";
  std::string text_, err_;
  Picture picture_;
};

std::unique_ptr<TestFolder> PictureVerbTest::scratch_;

// The pictures in the documents are those that the commands beneath them draw.
TEST_F(PictureVerbTest, DrawsThePicturesOfTheDocuments) {
  const struct {
    const char* file;
    std::vector<std::string> options;
  } pictures[] = {
      {"docs/trolley.png", {"--size", "720x450", "--from", "1,-1.9,0.8"}},
      {"docs/trolley-section.png",
       {"--size", "480x360", "--from", "1,-1.9,0.8", "--section", "y", "--ghost", "push handle"}}};
  for (const auto& [file, options] : pictures) {
    Picture reference;
    std::string reason;
    ASSERT_TRUE(reference.Load(std::string(MIREL_SOURCE_DIR "/") + file, reason)) << reason;
    ASSERT_EQ(Draw(options), 0) << err_;
    EXPECT_LT(ComparePixels(reference, picture_, 12), 0.003) << file;
    EXPECT_LT(CompareMean(reference, picture_), 0.3) << file;
    // And what is broken on purpose is beyond that.
    for (const std::vector<std::string>& wrong : std::vector<std::vector<std::string>>{
             {"--hide", "ballast"}, {"--edges", "none"}, {"--hide", "drawer bottom"}, {"--parallel"}}) {
      std::vector<std::string> broken = options;
      broken.insert(broken.end(), wrong.begin(), wrong.end());
      ASSERT_EQ(Draw(broken), 0) << err_;
      EXPECT_GT(ComparePixels(reference, picture_, 12), 0.003) << file << " " << wrong.back();
    }
  }
}

TEST_F(PictureVerbTest, DrawsWhatItIsAskedFor) {
  ASSERT_EQ(Draw({"--size", "90x60", "--background", "#ff8000", "--only", "drawer top", "drawer middle"}), 0)
      << err_;
  EXPECT_EQ(picture_.width, 90);
  EXPECT_EQ((std::vector<int>(picture_.GetPixel(0, 0), picture_.GetPixel(0, 0) + 4)),
            (std::vector<int>{255, 128, 0, 255}));
  const Picture two = picture_;
  EXPECT_EQ(Draw({"--size", "90x60", "--background", "#ff8000", "--only", "16846932295666389210", "--only",
                  "drawer middle", "--hide", "drawer bottom"}),
            0);
  EXPECT_TRUE(picture_.pixels == two.pixels);
  EXPECT_EQ(Draw({"--size", "90x60", "--background", "#ff8000", "--only", "drawer top", "drawer middle",
                  "--view", "top"}),
            0);
  EXPECT_FALSE(picture_.pixels == two.pixels);

  // Filled by one part of all.
  ASSERT_EQ(Draw({"--size", "100x100", "--view", "top", "--fit", "drawer top", "--background", "none"}), 0);
  EXPECT_EQ(picture_.GetPixel(50, 50)[3], 255);

  ASSERT_EQ(Draw({"--size", "60x40", "--turntable", "4"}), 0) << err_;
  EXPECT_EQ(folder_.ListFiles(), "out-001.png out-002.png out-003.png out-004.png out.png");
  std::string reason;
  Picture frames[2];
  ASSERT_TRUE(frames[0].Load(folder_.GetPath() + "out-001.png", reason) &&
              frames[1].Load(folder_.GetPath() + "out-002.png", reason));
  EXPECT_FALSE(frames[0].pixels == frames[1].pixels);
}

TEST_F(PictureVerbTest, SaysWhatIsWrong) {
  const struct {
    std::vector<std::string> options;
    int exit;
    const char* message;
  } cases[] = {
      {{"--size", "0x10"}, 1, "1 to 32768 pixels a side"},
      {{"--size", "100000x100000"}, 1, "1 to 32768 pixels a side"},
      {{"--size", "30000x30000"}, 1, "100 million"},
      {{"--size", "10"}, 1, "no size such as 1600x1200"},
      {{"--view", "inside"}, 1, "inside"},
      {{"--from", "0,0,0"}, 1, "no direction"},
      {{"--from", "1,nan,0"}, 1, "no direction"},
      {{"--section", "w"}, 1, "no plane such as"},
      {{"--section", "0,0,0,1"}, 1, "no plane such as"},
      {{"--background", "#12"}, 1, "no color such as"},
      {{"--samples", "0"}, 1, "samples"},
      {{"--only", "no such part"}, 2, "nothing in the model has the id or the name \"no such part\""},
      {{"--ghost", "Schublade"},
       2,
       "several parts of the model have the name \"Schublade\"; give the id of one: "},
      {{"--ids", folder_.GetPath() + "no/such.png"}, 3, "No such file or directory"},
  };
  for (const auto& [options, exit, message] : cases) {
    fs::remove(fs::u8path(out_));
    EXPECT_EQ(Draw(options), exit) << options.back();
    EXPECT_NE(err_.find(message), std::string::npos) << err_;
    EXPECT_EQ(fs::exists(fs::u8path(out_)), exit == 3);
  }
  EXPECT_EQ(Draw({}, folder_.GetPath() + "missing"), 2);
  EXPECT_EQ(Draw({}, MIREL_SOURCE_DIR "/CMakeLists.txt"), 2);
}

TEST_F(PictureVerbTest, DrawsNothingAsAnEmptyPicture) {
  for (const auto& [options, exit] : std::vector<std::pair<std::vector<std::string>, int>>{
           {{"--hide", "工具车"}, 0}, {{"--section", "z=-50"}, 0}, {{"--section", "z=-50", "--strict"}, 4}}) {
    ASSERT_EQ(Draw(options), exit);
    EXPECT_NE(err_.find("nothing is to be seen; the picture is empty"), std::string::npos) << err_;
    EXPECT_EQ(picture_.width, 1600);
  }
  EXPECT_EQ(Draw({"--strict", "--size", "10x10"}), 0);
  EXPECT_EQ(err_, "");
}

TEST_F(PictureVerbTest, DrawsDamagedFoldersAsFarAsTheyGo) {
  const std::string damaged = folder_.GetPath() + "damaged/";
  fs::copy(fs::u8path(scratch_->GetPath() + "trolley"), fs::u8path(damaged), fs::copy_options::recursive);
  for (const Damage& damage :
       {Edit("CASCADE Topology", "CASCADE Topologie", "model/1.gz"), Remove("model/1.gz")}) {
    damage(damaged);
    std::string tree;
    EXPECT_EQ(Mirel({"tree", damaged}, text_, &tree), 2);
    EXPECT_EQ(Draw({"--size", "100x80"}, damaged), 2);
    EXPECT_EQ(err_, tree);  // though the bodies are checked while it is drawn
  }
  const Picture whole = picture_;
  EXPECT_EQ(whole.width, 100);
  EXPECT_EQ(Draw({"--size", "100x80"}), 0);
  EXPECT_TRUE(whole.pixels == picture_.pixels);  // the exact bodies are not drawn

  Remove("grep/1.gz")(damaged);
  EXPECT_EQ(Draw({"--size", "100x80"}, damaged), 2);
  EXPECT_NE(err_.find("nothing is to be seen"), std::string::npos);
  EXPECT_EQ(picture_.width, 100);
  Put("index.gz", "no index")(damaged);
  fs::remove(fs::u8path(out_));
  EXPECT_EQ(Draw({}, damaged), 2);
  EXPECT_EQ(picture_.width, 0);
}

// Each model is drawn, or said not to be, with `tree`'s exit code; nothing of a sheet of it goes wrong either.
TEST_F(PictureVerbTest, DrawsOddModels) {
  const struct {
    const char* name;
    std::shared_ptr<TopoShape> shape;
    std::vector<glm::dmat4> placements;
    const char* message;
    bool isSeen;
  } models[] = {
      {"empty", nullptr, {}, "nothing is to be seen", false},
      {"vertex", MakePoints(1), {glm::dmat4(1.0)}, "nothing is to be seen", false},
      {"unbounded", MakePlane(), {glm::dmat4(1.0)}, "nothing is to be seen", false},
      {"wire",
       std::make_shared<TopoShape>(TopExp_Explorer(MakeBox(3, 2, 1)->GetImpl(), TopAbs_WIRE).Current()),
       {glm::dmat4(1.0)},
       "",
       true},
      {"mirrored and sheared", MakeBox(3, 2, 1), {Mirror(), Move(5, 0, 0) * Shear()}, "", true},
      {"flattened",
       MakeBox(3, 2, 1),
       {glm::dmat4(0.0), glm::dmat4(1.0)},
       ": 1 body cannot be drawn where it is placed\n",
       true},
      {"nowhere", MakeBox(3, 2, 1), {Move(0, 1e13, 0), Move(1e300, 0, 0)}, "nothing is to be seen", false},
      {"far away", MakeBox(3, 2, 1), {Move(1e9, 0, 0), Move(1e9, 5, 0)}, "", true},
  };
  for (const auto& one : models) {
    SCOPED_TRACE(one.name);
    LiteModel model;
    if (one.shape) model.AddShape(Id(1), one.shape);
    for (const glm::dmat4& placement : one.placements) {
      auto item = MakeShape(10 + model.GetItems().size(), "part", 1);
      item->SetTransform(placement);
      model.AddItem(std::move(item));
    }
    const std::string folder = folder_.GetPath() + one.name + "/";
    LiteModelWriter(model).Save(folder);
    const int tree = Mirel({"tree", folder}, text_);
    EXPECT_EQ(Draw({"--size", "80x60", "--background", "none", "--section", "z"}, folder), tree);
    EXPECT_NE(err_.find(one.message), std::string::npos) << err_;
    EXPECT_TRUE(one.message[0] != '\0' || err_.empty()) << err_;
    bool isSeen = false;
    for (std::size_t i = 3; i < picture_.pixels.size(); i += 4)
      isSeen = isSeen || picture_.pixels[i] != 0;
    EXPECT_EQ(isSeen, one.isSeen);
    EXPECT_EQ(Draw({"--sheet", "--size", "400x300"}, folder), tree);
    EXPECT_EQ(picture_.width, 400);
  }
}

TEST_F(PictureVerbTest, ConvertsOtherFilesFirstAndLeavesNothingOfThat) {
  const std::string temporary = folder_.GetPath() + "temporary";
  fs::create_directory(fs::u8path(temporary));
  ASSERT_EQ(setenv("TMPDIR", temporary.c_str(), 1), 0);
  EXPECT_EQ(Draw({"--size", "120x90"}, MIREL_SAMPLE), 0) << err_;
  EXPECT_EQ(text_, "");
  unsetenv("TMPDIR");
  EXPECT_TRUE(fs::is_empty(fs::u8path(temporary)));
  const Picture converted = picture_;
  EXPECT_EQ(Draw({"--size", "120x90"}), 0);
  EXPECT_TRUE(converted.pixels == picture_.pixels);
  std::string info;
  EXPECT_EQ(Mirel({"info", scratch_->GetPath() + "trolley", "--picture", out_}, info), 0);
  std::string reason;
  EXPECT_TRUE(picture_.Load(out_, reason) && picture_.width == 1600);
}

// The exact bodies of a model where they are placed, and what OpenCASCADE says a ray meets of them.
class ExactModel {
 public:
  explicit ExactModel(const std::string& folder)
      : root_(LiteSceneReader().Load(folder + "/index.gz", nullptr)) {}

  // The body at the end of a path of ids, prepared for rays.
  int FindBody(const rapidjson::Value& path) {
    const SceneNode* node = root_.get();
    glm::dmat4 placement(1.0);
    for (const auto& step : path.GetArray()) {
      const SceneNode* next = nullptr;
      for (const auto& child : dynamic_cast<const GroupSceneNode&>(*node).GetNodes()) {
        if (std::to_string(child->GetUserId()) == step.GetString()) next = child.get();
      }
      if (next == nullptr) return -1;
      node = next;
      placement *= node->GetTransform();
    }
    return Place(dynamic_cast<const BrepSceneNode&>(*node), placement);
  }

  // All bodies, also those that are not seen.
  void PlaceAll() { PlaceAll(*root_, glm::dmat4(1.0)); }

  struct Hit {
    int body = -1;
    int face = -1;
    double distance = 1e300;
  };
  Hit Cast(const gp_Lin& line) {
    Hit nearest;
    for (std::size_t i = 0; i < bodies_.size(); ++i) {
      const Hit hit = CastOne(static_cast<int>(i), line, -1);
      if (hit.distance < nearest.distance) nearest = hit;
    }
    return nearest;
  }
  // The nearest hit of one body, or of one face of it.
  Hit CastOne(int body, const gp_Lin& line, int face) {
    Hit nearest;
    bodies_[static_cast<std::size_t>(body)]->rays.Cast(line, 0.0, 1e10, [&](int number, double distance) {
      if (distance < nearest.distance && (face < 0 || face == number)) nearest = {body, number, distance};
    });
    return nearest;
  }

  double GetDeflection(int body) const { return bodies_[static_cast<std::size_t>(body)]->deflection; }

 private:
  struct Body {
    const SceneNode* node;
    glm::dmat4 placement;
    double deflection;
    BodyRays rays;
  };

  int Place(const BrepSceneNode& node, const glm::dmat4& placement) {
    for (std::size_t i = 0; i < bodies_.size(); ++i) {
      if (bodies_[i]->node == &node && bodies_[i]->placement == placement) return static_cast<int>(i);
    }
    gp_Trsf trsf;
    trsf.SetValues(placement[0][0], placement[1][0], placement[2][0], placement[3][0], placement[0][1],
                   placement[1][1], placement[2][1], placement[3][1], placement[0][2], placement[1][2],
                   placement[2][2], placement[3][2]);
    const TopoDS_Shape shape = node.GetGRep()->GetShape()->GetImpl().Moved(TopLoc_Location(trsf));
    bodies_.push_back(std::unique_ptr<Body>(
        new Body{&node, placement, node.GetGRep()->GetMesh().linearDeflection, BodyRays(shape)}));
    return static_cast<int>(bodies_.size()) - 1;
  }

  void PlaceAll(const SceneNode& node, const glm::dmat4& above) {
    const glm::dmat4 placement = above * node.GetTransform();
    if (const auto* body = dynamic_cast<const BrepSceneNode*>(&node)) Place(*body, placement);
    if (const auto* group = dynamic_cast<const GroupSceneNode*>(&node)) {
      for (const auto& child : group->GetNodes())
        PlaceAll(*child, placement);
    }
  }

  std::shared_ptr<SceneNode> root_;
  std::vector<std::unique_ptr<Body>> bodies_;
};

glm::dvec3 ToVector(const rapidjson::Value& value) {
  return {value[0].GetDouble(), value[1].GetDouble(), value[2].GetDouble()};
}

// What is seen at a pixel is what OpenCASCADE's own ray meets first of the exact bodies, in the colour that its own
// presentation of the source gives it. Where two faces lie within the deflection of each other, either may be seen.
void ExpectAgreement(const XcafColors& source, const std::string& folder, const std::string& picturePath,
                     int rays) {
  ExactModel model(folder);
  model.PlaceAll();
  Picture picture;
  std::string reason;
  ASSERT_TRUE(picture.Load(picturePath, reason)) << reason;
  rapidjson::Document legend;
  legend.Parse(ReadFile(fs::u8path(picturePath).replace_extension(".json").u8string()).c_str());
  ASSERT_FALSE(legend.HasParseError());
  ASSERT_EQ(legend["width"].GetInt(), picture.width);
  const glm::dvec3 eye = ToVector(legend["eye"]), target = ToVector(legend["target"]),
                   up = ToVector(legend["up"]);
  const glm::dvec3 forward = glm::normalize(target - eye), right = glm::cross(forward, up);
  const double pixel = legend["targetHeight"].GetDouble() / glm::distance(eye, target) / picture.height;
  std::mt19937 random(1);
  int agreed = 0, seen = 0, colored = 0;
  for (int i = 0; i < rays; ++i) {
    const int x = static_cast<int>(random() % static_cast<unsigned>(picture.width));
    const int y = static_cast<int>(random() % static_cast<unsigned>(picture.height));
    const glm::dvec3 direction = glm::normalize(forward + right * ((x + 0.5 - picture.width * 0.5) * pixel) -
                                                up * ((y + 0.5 - picture.height * 0.5) * pixel));
    const gp_Lin line(gp_Pnt(eye.x, eye.y, eye.z), gp_Dir(direction.x, direction.y, direction.z));
    const ExactModel::Hit exact = model.Cast(line);
    const std::uint8_t* const color = picture.GetPixel(x, y);
    const unsigned number = color[0] * 65536u + color[1] * 256u + color[2];
    if (number == 0) {
      agreed += exact.body < 0 ? 1 : 0;
      continue;
    }
    ++seen;
    ASSERT_LE(number, legend["faces"].Size());
    const rapidjson::Value& entry = legend["faces"][number - 1];
    const int body = model.FindBody(legend["bodies"][entry["body"].GetUint()]["path"]);
    ASSERT_GE(body, 0);
    const int face = entry["face"].GetInt();
    bool same = exact.body == body && exact.face == face;
    if (!same && exact.body >= 0) {
      const double near = model.GetDeflection(body) + model.GetDeflection(exact.body);
      same = model.CastOne(body, line, face).distance - exact.distance < near;
    }
    agreed += same ? 1 : 0;
    const glm::vec3 shown = ToVector(entry["color"]);
    for (const glm::vec3& exactColor : source.FindColors(
             line, exact.distance, 1e-3 + 2 * model.GetDeflection(body), BrepSceneNode::kDefaultColor)) {
      if (glm::distance(exactColor, shown) > 2e-3f) continue;
      ++colored;
      break;
    }
  }
  EXPECT_GT(seen, rays / 10);
  EXPECT_GE(agreed, rays * 0.995);
  EXPECT_GE(colored, seen * 0.995);
  std::cout << folder << ": " << agreed << " of " << rays << " rays agree, " << seen << " of them on faces, "
            << colored << " with the same color\n";
}

TEST_F(PictureVerbTest, ShowsTheFacesThatTheExactBodiesHaveThere) {
  const std::string faces = folder_.GetPath() + "faces.png";
  const XcafColors source(MIREL_SAMPLE);
  for (const char* view : {"iso", "bottom"}) {
    ASSERT_EQ(Draw({"--ids", faces, "--view", view, "--size", "800x600"}), 0) << err_;
    ExpectAgreement(source, scratch_->GetPath() + "trolley", faces, 5000);
  }
}

// MIREL_PICTURE_FILE may name a STEP file.
TEST_F(PictureVerbTest, ShowsTheFacesOfAnyFile) {
  const char* const file = std::getenv("MIREL_PICTURE_FILE");
  if (file == nullptr) GTEST_SKIP() << "MIREL_PICTURE_FILE names no file";
  const std::string model = folder_.GetPath() + "model", faces = folder_.GetPath() + "faces.png";
  ASSERT_EQ(Mirel({"save", "-q", file, model}), 0);
  ASSERT_EQ(Draw({"--ids", faces, "--size", "800x600"}, model), 0) << err_;
  ExpectAgreement(XcafColors(file), model, faces, 10000);
}

}  // namespace
}  // namespace mirel

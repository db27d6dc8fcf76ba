#include <Programs/mirel/Extras/ExtrasReader.h>
#include <Programs/mirel/Extras/ExtrasText.h>
#include <Programs/mirel/Extras/ExtrasWriter.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <BRepGProp.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>

#include <gtest/gtest.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace mirel {
namespace {

/// The faces of one colour of a body: how many, their area, and where they are.
struct Amounts {
  int count = 0;
  double area = 0.0;
  glm::dvec3 moment{0.0};
};

struct Face {
  double area;
  glm::dvec3 middle;
};

/// What is measured of a body, once.
struct Body {
  std::vector<Face> faces;
  double volume = 0.0, area = 0.0;
  /// What its area leaves open: along edges that curves and surfaces meet only so well, readers make curves anew.
  double slack = 0.0;
};

/// A placed body with the names above it.
struct Placed {
  std::string names;
  glm::dmat4 matrix{1.0};
  std::map<std::array<int, 3>, Amounts> colors;
  double volume = 0.0, area = 0.0, slack = 0.0, size = 0.0;
};

constexpr double kExactEdge = 1.5e-7;

class Model {
 public:
  explicit Model(const std::string& folder) {
    root_ = LiteSceneReader().Load(folder + "/index.gz", nullptr);
    if (root_) Walk(*root_, Placed());
  }

  bool IsOpen() const { return root_ != nullptr; }
  const std::vector<Placed>& GetPlaced() const { return placed_; }

 private:
  void Walk(const SceneNode& node, Placed here) {
    here.names += "/" + node.GetName();
    here.matrix = here.matrix * node.GetTransform();
    for (const auto& child : node.GetNodes())
      Walk(*child, here);
    if (node.GetKind() != SceneNodeKind::kBrep) return;
    const auto& shape = static_cast<const BrepSceneNode&>(node);
    const Body& body = Measure(shape.GetGRep()->GetShape());
    here.volume = body.volume;
    here.area = body.area;
    here.slack = body.slack;
    for (std::size_t i = 0; i < body.faces.size(); ++i) {
      const glm::ivec3 color(shape.GetDrawnColor(static_cast<std::uint32_t>(i)) * 10000.0f + 0.5f);
      Amounts& sum = here.colors[{color.r, color.g, color.b}];
      ++sum.count;
      sum.area += body.faces[i].area;
      sum.moment += body.faces[i].area * body.faces[i].middle;
      here.size = std::max(here.size, glm::length(body.faces[i].middle));
    }
    placed_.push_back(here);
  }

  const Body& Measure(const std::shared_ptr<TopoShape>& shape) {
    const auto [place, isNew] = bodies_.try_emplace(shape.get());
    if (!isNew || !shape) return place->second;
    Body& body = place->second;
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(shape->GetImpl(), TopAbs_FACE, faces);
    for (int i = 1; i <= faces.Extent(); ++i) {
      GProp_GProps properties;
      BRepGProp::SurfaceProperties(faces(i), properties);
      const gp_Pnt middle = properties.CentreOfMass();
      body.faces.push_back({properties.Mass(), {middle.X(), middle.Y(), middle.Z()}});
      body.area += properties.Mass();
    }
    TopTools_IndexedMapOfShape edges;
    TopExp::MapShapes(shape->GetImpl(), TopAbs_EDGE, edges);
    for (int i = 1; i <= edges.Extent(); ++i) {
      const double tolerance = BRep_Tool::Tolerance(TopoDS::Edge(edges(i)));
      GProp_GProps length;
      BRepGProp::LinearProperties(edges(i), length);
      body.slack += tolerance > kExactEdge ? tolerance * length.Mass() : 0.0;
    }
    GProp_GProps properties;
    BRepGProp::VolumeProperties(shape->GetImpl(), properties);
    body.volume = properties.Mass();
    return body;
  }

  std::shared_ptr<SceneNode> root_;
  std::map<const TopoShape*, Body> bodies_;
  std::vector<Placed> placed_;
};

constexpr double kLength = 1e-9;    // mm, of placements
constexpr double kRelative = 1e-9;  // of areas and volumes

// What is different, line by line; empty when nothing is.
std::string Compare(const Model& before, const Model& after) {
  std::ostringstream said;
  said.precision(12);
  const std::vector<Placed>&a = before.GetPlaced(), &b = after.GetPlaced();
  if (a.size() != b.size()) said << a.size() << " bodies became " << b.size() << "\n";
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    std::ostringstream what;
    what.precision(12);
    if (a[i].names != b[i].names) what << " is now " << b[i].names;
    double moved = 0.0;
    for (int k = 0; k < 16; ++k)
      moved = std::max(moved, std::abs(a[i].matrix[k / 4][k % 4] - b[i].matrix[k / 4][k % 4]));
    if (!(moved <= kLength)) what << " moved by " << moved;
    // A volume that cancels out, as of shells that are not closed, has no more digits than the area gives it.
    const double least = a[i].area * std::max(1.0, a[i].size) * 1e-3;
    if (!(std::abs(a[i].volume - b[i].volume) <=
          kRelative * std::max(std::abs(a[i].volume), least) + a[i].slack * a[i].size))
      what << " volume " << a[i].volume << " -> " << b[i].volume;
    if (!(std::abs(a[i].area - b[i].area) <= kRelative * a[i].area + a[i].slack))
      what << " area " << a[i].area << " -> " << b[i].area;
    if (a[i].colors.size() != b[i].colors.size())
      what << " colours " << a[i].colors.size() << " -> " << b[i].colors.size();
    for (const auto& [color, sum] : a[i].colors) {
      const auto found = b[i].colors.find(color);
      if (found == b[i].colors.end()) {
        what << " lost colour " << color[0] << " " << color[1] << " " << color[2];
      } else if (found->second.count != sum.count || !(glm::distance(found->second.moment, sum.moment) <=
                                                       1e-7 * a[i].area * std::max(1.0, a[i].size))) {
        what << " colour " << color[0] << " " << color[1] << " " << color[2] << " on other faces, "
             << sum.count << " -> " << found->second.count;
      }
    }
    if (!what.str().empty()) said << a[i].names << what.str() << "\n";
  }
  return said.str();
}

// Saves a file, writes it out of the folder and saves that; what is different then.
std::string GoRound(const std::string& file, const std::vector<std::string>& options = {}) {
  const TestFolder scratch;
  const std::string first = scratch.GetPath() + "first", second = scratch.GetPath() + "second",
                    step = scratch.GetPath() + "out.step";
  std::string out, err;
  if (Mirel({"save", "-q", file, first}, out, &err) != 0) return "not saved: " + err;
  std::vector<std::string> arguments = {"export", first, step};
  arguments.insert(arguments.end(), options.begin(), options.end());
  if (Mirel(arguments, out, &err) != 0) return "not written: " + err;
  // What is said of edges that are not exact is no difference.
  const std::string notes = err.substr(0, err.find("may come back with other areas"));
  if (Mirel({"save", "-q", step, second}, out, &err) != 0) return "not saved again: " + err;
  const Model before(first), after(second);
  if (!before.IsOpen() || !after.IsOpen()) return "not opened";
  const std::string difference = Compare(before, after);
  return difference.empty() ? notes : notes + difference;
}

TEST(ExactExport, StepGivesTheSameModelAgain) {
  EXPECT_EQ(GoRound(MIREL_SAMPLE), "");
  EXPECT_EQ(GoRound(MIREL_SAMPLE, {"--schema", "ap214"}), "");
}

/// What extras say, with names in the place of ids.
std::string DescribeExtras(const std::string& folder) {
  ExtrasReader reader;
  if (!reader.ReadFile(folder + "/extras.gz")) return reader.GetError();
  Extras extras = reader.GetExtras();
  extras.header.clear();
  std::map<std::string, std::string> names;
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "/index.gz", nullptr);
  std::vector<const SceneNode*> open = {root.get()};
  while (!open.empty()) {
    const SceneNode& node = *open.back();
    open.pop_back();
    if (node.GetUserId() != 0) names[std::to_string(node.GetUserId())] = node.GetName();
    for (const auto& child : node.GetNodes())
      open.push_back(child.get());
  }
  std::istringstream lines(ExtrasText::Of(extras));
  std::set<std::string> sorted;
  for (std::string line; std::getline(lines, line);) {
    for (const auto& [id, name] : names)
      if (const std::size_t at = line.find(id); at != std::string::npos) line.replace(at, id.size(), name);
    sorted.insert(line);
  }
  std::string text;
  for (const std::string& line : sorted)
    text += line + "\n";
  return text;
}

ObjectId FindId(const std::string& folder, const std::string& name) {
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "/index.gz", nullptr);
  std::vector<const SceneNode*> open = {root.get()};
  while (!open.empty() && open.back()->GetName() != name) {
    const SceneNode& node = *open.back();
    open.pop_back();
    for (const auto& child : node.GetNodes())
      open.push_back(child.get());
  }
  ObjectId id;
  if (!open.empty()) id.SetInteger(open.back()->GetUserId());
  return id;
}

TEST(ExactExport, StepKeepsWhatExtrasSay) {
  const TestFolder scratch;
  const std::string first = scratch.GetPath() + "first", second = scratch.GetPath() + "second",
                    step = scratch.GetPath() + "out.step";
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, first}), 0);
  Extras extras;
  extras.layers = {{"Ebene \"1\"", false}, {"隐藏", true}};
  Extras::Item& handle = extras.items.emplace_back();
  handle.ids = {FindId(first, "Griff Größe L")};
  handle.layers = {"Ebene \"1\"", "隐藏"};
  handle.material = {"Стал'ь", "S235", 7.85, "density measure", "POSITIVE_RATIO_MEASURE"};
  handle.properties = {12345.678901, 2345.5, glm::dvec3(1, -2, 3.25)};
  handle.alpha = 0.25F;
  handle.curveColor = glm::vec3(0, 0, 1);
  handle.edgeColors[2] = glm::vec3(1, 0, 0);
  handle.hiddenFaces = {1};
  Extras::Item& weight = extras.items.emplace_back();
  weight.ids = {FindId(first, "Bodenplatte 600×400")};
  weight.hidden = true;
  Extras::Item& drawer = extras.items.emplace_back();
  drawer.ids = {FindId(first, "drawer top")};
  drawer.hidden = true;
  ExtrasWriter::Save(ExtrasWriter::ToJson(extras), first + "/");
  const std::string before = DescribeExtras(first);
  std::string out, err;
  ASSERT_EQ(Mirel({"export", "--strict", first, step}, out, &err), 0) << err;
  ASSERT_EQ(Mirel({"save", "-q", step, second}, out, &err), 0) << err;
  EXPECT_EQ(DescribeExtras(second), before);
  EXPECT_EQ(Compare(Model(first), Model(second)), "");

  // OpenCASCADE does not read names of faces, and what STEP has no place for is told.
  Extras::Part& part = extras.items[0].parts.emplace_back();
  part.kind = "Face";
  part.index = 2;
  part.name = "Deckfläche";
  extras.items[2].layers = {"隐藏"};
  Extras::Item& chassis = extras.items.emplace_back();
  chassis.ids = {FindId(first, "Fahrgestell")};
  chassis.hidden = true;
  Extras::Item& wheel = extras.items.emplace_back();
  wheel.ids = {FindId(first, "Gabel")};
  wheel.within = {{FindId(first, "caster front left")}};
  wheel.hidden = true;
  ExtrasWriter::Save(ExtrasWriter::ToJson(extras), first + "/");
  EXPECT_EQ(Mirel({"export", "--strict", first, step}, out, &err), 4);
  for (const char* const loss :
       {"1 hidden assembly", "1 layer of assemblies", "1 thing said of single occurrences"})
    EXPECT_NE(err.find(loss), std::string::npos) << loss << "\n" << err;
  EXPECT_NE(ReadFile(step).find("ADVANCED_FACE('Deckfl\\X2\\00E4\\X0\\che'"), std::string::npos);
}

TEST(ExactExport, WritesSinglePartsAlone) {
  const TestFolder scratch;
  const std::string model = scratch.GetPath() + "model", step = scratch.GetPath() + "out.stp",
                    brep = scratch.GetPath() + "out.brep", again = scratch.GetPath() + "again";
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, model}), 0);
  std::string out, err;
  ASSERT_EQ(Mirel({"export", model, step, "--only", "push handle"}, out, &err), 0) << err;
  ASSERT_EQ(Mirel({"save", "-q", step, again}, out, &err), 0) << err;
  const Model whole(model), part(again);
  ASSERT_EQ(part.GetPlaced().size(), 1u);
  EXPECT_EQ(part.GetPlaced()[0].names, "//工具车/push handle/Griff Größe L");
  const auto inWhole =
      std::find_if(whole.GetPlaced().begin(), whole.GetPlaced().end(),
                   [&](const Placed& one) { return one.names == part.GetPlaced()[0].names; });
  ASSERT_NE(inWhole, whole.GetPlaced().end());
  EXPECT_EQ(inWhole->matrix, part.GetPlaced()[0].matrix);

  // BRep has neither names nor colours, but everything that is placed.
  ASSERT_EQ(Mirel({"export", model, brep}, out, &err), 0) << err;
  ASSERT_EQ(Mirel({"save", "-q", "--force", brep, again}, out, &err), 0) << err;
  double volume = 0.0;
  for (const Placed& one : whole.GetPlaced())
    volume += one.volume;
  const Model body(again);
  ASSERT_EQ(body.GetPlaced().size(), 1u);
  EXPECT_NEAR(body.GetPlaced()[0].volume, volume, 1e-7 * volume);  // integrated as one

  const std::string before = ReadFile(brep);
  EXPECT_EQ(Mirel({"export", model, brep, "--only", "Schublade"}, out, &err), 2);
  EXPECT_EQ(Mirel({"export", model, brep, "--schema", "ap203"}, out, &err), 1);
  EXPECT_EQ(Mirel({"export", scratch.GetPath() + "nothing", brep}, out, &err), 2);
  EXPECT_EQ(ReadFile(brep), before);
  EXPECT_EQ(Mirel({"export", model, scratch.GetPath() + "no/out.step"}, out, &err), 3);
}

// Indexes that nobody saved: types in themselves, trees that unfold without end, places that cannot be.
TEST(ExactExport, HostileFoldersEndWithAMessage) {
  const TestFolder scratch;
  const std::string model = scratch.GetPath() + "model";
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, model}), 0);
  std::string doubled, chain;
  for (int i = 1; i <= 60; ++i) {
    const std::string below = std::to_string(i - 1),
                      use = R"({"Type":"Instance","Id":"9","TId":")" + below + "\"}";
    doubled += (i > 1 ? "," : "") + (R"({"Type":"Group","Id":")" + std::to_string(i) + R"(","Children":[)") +
               use + "," + use + "]}";
  }
  for (int i = 1; i <= 2000; ++i)
    chain +=
        (i > 1 ? "," : "") +
        (R"({"Type":"Group","Id":")" + std::to_string(i) + R"(","Children":[{"Type":"Instance","TId":")") +
        std::to_string(i + 1) + "\"}]}";
  const std::string shape = R"({"Type":"Shape","Id":"1","SId":"1","FColor":[{"FId":-1,"Color":[1,0,0]}]})";
  const auto matrix = [](const char* x, const char* w) {
    return std::string(R"("Transform":[)") + x + ",0,0,0,0,1,0,0,0,0,1,0,0,0,0," + w + "]";
  };
  const auto placed = [&](const std::string& m) {
    return R"({"Type":"Shape","Id":"1","SId":"1","FColor":[],)" + m + "}";
  };
  const struct {
    std::string types, items;
    int code;
  } cases[] = {
      {"", "", 2},
      {"", shape, 0},
      {R"({"Type":"Group","Id":"1","Children":[{"Type":"Instance","TId":"1"}]})",
       R"({"Type":"Instance","TId":"1"})", 0},
      {"", R"({"Type":"Instance","TId":"77"})", 2},
      {doubled, R"({"Type":"Instance","TId":"60"})", 3},
      {chain, R"({"Type":"Instance","TId":"1"})", 0},
      {R"({"Type":"Instance","Id":"1","TId":"2"},{"Type":"Instance","Id":"2","TId":"1"})",
       R"({"Type":"Instance","TId":"1"})", 2},
      {"", placed(matrix("0", "1")), 2},
      {"", placed(matrix("1e308", "1")), 2},
      {"", placed(matrix("-1", "1")) + "," + placed(matrix("3", "1")), 0},
  };
  for (const auto& one : cases) {
    WriteGzip(model + "/index.gz", R"({"Metadata":{"PkgShape":1,"PkgGRep":1},"Types":[)" + one.types +
                                       R"(],"Items":[)" + one.items + "]}");
    for (const char* const name : {"out.step", "out.brep"}) {
      std::string out, err;
      EXPECT_EQ(Mirel({"export", model, scratch.GetPath() + name}, out, &err), one.code)
          << name << one.items << one.types.substr(0, 100) << "\n"
          << err;
    }
  }
}

// Places in STEP only turn and move: what else a placement does is done to the body.
TEST(ExactExport, MirroredScaledAndShearedBodiesAreWrittenAsTheyAreSeen) {
  const TestFolder scratch;
  const std::string model = scratch.GetPath() + "model", step = scratch.GetPath() + "out.step",
                    again = scratch.GetPath() + "again";
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, model}), 0);
  const std::string index = Inflate(model + "/index.gz");
  const std::size_t at = index.find("\"SId\":\"") + 7;
  const std::string body = index.substr(at, index.find('"', at) - at);
  std::string children;
  for (const char* const matrix : {"-1,0,0,0,0,1,0,0,0,0,1,0,5,6,7,1", "0,2,0,0,-2,0,0,0,0,0,2,0,1,2,3,1",
                                   "1,0,0,0,0.5,1,0,0,0,0,1,0,0,0,0,1", "0,1,0,0,1,0,0,0,0,0,1,0,9,9,9,1"})
    children += (children.empty() ? "" : ",") +
                (R"({"Type":"Shape","Id":"1","Name":"part","Color":[0,1,0],"SId":")" + body +
                 R"(","FColor":[],"Transform":[)") +
                matrix + "]}";
  WriteGzip(
      model + "/index.gz",
      R"({"Metadata":{"PkgShape":1,"PkgGRep":1},"Types":[],"Items":[{"Type":"Group","Id":"2","Children":[)" +
          children + "]}]}");
  std::string out, err;
  ASSERT_EQ(Mirel({"export", model, step}, out, &err), 0) << err;
  ASSERT_EQ(Mirel({"save", "-q", step, again}, out, &err), 0) << err;
  const Model before(model), after(again);
  ASSERT_EQ(after.GetPlaced().size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    const Placed &a = before.GetPlaced()[i], &b = after.GetPlaced()[i];
    const double volume = a.volume * std::abs(glm::determinant(a.matrix));
    EXPECT_NEAR(b.volume, volume, 1e-6 * volume) << i;
    EXPECT_NEAR(glm::determinant(b.matrix), 1.0, 1e-9) << i;
    // Where it stands: the middle of the faces in green, weighted by area, moves with the placement unless it shears.
    if (i == 2) continue;
    const glm::dvec3 was = a.colors.at({0, 10000, 0}).moment / a.area,
                     is = b.colors.at({0, 10000, 0}).moment / b.area;
    EXPECT_LT(
        glm::distance(glm::dvec3(a.matrix * glm::dvec4(was, 1)), glm::dvec3(b.matrix * glm::dvec4(is, 1))),
        1e-6)
        << i;
  }
}

// What readers may change since the model is not exact itself is told, but it is in the file.
TEST(ExactExport, FacesBetweenInexactEdgesAreNamed) {
  const TestFolder scratch;
  const std::shared_ptr<TopoShape> box = MakeBox(1, 2, 3);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box->GetImpl(), TopAbs_EDGE, edges);
  BRep_Builder().UpdateEdge(TopoDS::Edge(edges(1)), 2e-5);
  LiteModel model;
  model.AddShape(Id(10), box);
  model.AddItem(MakeShape(1, "block", 10));
  LiteModelWriter(model).Save(scratch.GetPath() + "model/");
  const std::string step = scratch.GetPath() + "out.step";
  std::string out, err;
  EXPECT_EQ(Mirel({"export", "--strict", scratch.GetPath() + "model", step}, out, &err), 0) << err;
  EXPECT_NE(err.find("2 faces between edges that are not exact"), std::string::npos) << err;
  EXPECT_NE(err.find("2 of \"block\", body 10, within 2e-05 mm"), std::string::npos) << err;
  EXPECT_EQ(Mirel({"save", "-q", step, scratch.GetPath() + "again"}, out, &err), 0) << err;
  EXPECT_EQ(Compare(Model(scratch.GetPath() + "model"), Model(scratch.GetPath() + "again")).find("area"),
            std::string::npos);
}

// MIREL_EXPORT_FILES may name files that `mirel save` reads, one a line.
TEST(ExactExport, StepGivesGivenModelsAgain) {
  const char* const files = std::getenv("MIREL_EXPORT_FILES");
  if (files == nullptr) GTEST_SKIP() << "MIREL_EXPORT_FILES names no files";
  std::istringstream lines(files);
  for (std::string file; std::getline(lines, file);) {
    if (!file.empty()) {
      EXPECT_EQ(GoRound(file), "") << file;
    }
  }
}

}  // namespace
}  // namespace mirel

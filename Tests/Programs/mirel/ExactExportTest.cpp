#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>

#include <gtest/gtest.h>

#include <glm/glm.hpp>

#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
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
  const std::string notes = err;
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

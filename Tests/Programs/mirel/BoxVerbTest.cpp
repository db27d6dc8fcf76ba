#include <Programs/mirel/Import/StepReader.h>
#include <Programs/mirel/ProgressBar.h>

#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Poly_Triangulation.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <regex>
#include <string>

namespace mirel {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Box {
  glm::dvec3 min{kInfinity};
  glm::dvec3 max{-kInfinity};

  void Add(const glm::dvec3& point) {
    min = glm::min(min, point);
    max = glm::max(max, point);
  }
  void Add(const Box& box) {
    min = glm::min(min, box.min);
    max = glm::max(max, box.max);
  }
  bool IsEmpty() const { return !(min.x <= max.x); }
};

// The box around the moved corners of a box; the placement is rounded to single precision.
Box Place(const Box& box, const glm::dmat4& placement) {
  Box placed;
  for (int corner = 0; corner < 8 && !box.IsEmpty(); ++corner) {
    glm::dvec3 moved(0.0);
    for (int row = 0; row < 3; ++row) {
      moved[row] = static_cast<float>(placement[3][row]);
      for (int axis = 0; axis < 3; ++axis) {
        moved[row] +=
            static_cast<float>(placement[axis][row]) * (corner >> axis & 1 ? box.max : box.min)[axis];
      }
    }
    placed.Add(moved);
  }
  return placed;
}

// Of the source: what OpenCASCADE's mesher makes of each part, placed level by level. The parameters are those
// that graphics are made with; a twentieth of the deflection is kept for the grid. `deflection` becomes the largest
// of all.
Box MeasureShape(const TopoDS_Shape& shape, double& deflection) {
  Bnd_Box bounds;
  BRepBndLib::Add(shape, bounds, false);
  const TopoDS_Shape copy = BRepBuilderAPI_Copy(shape, true, false).Shape();
  IMeshTools_Parameters parameters;
  const double allowed = 0.001 * bounds.CornerMin().Distance(bounds.CornerMax());
  deflection = std::max(deflection, allowed);
  parameters.Deflection = 0.95 * allowed;
  parameters.Angle = 0.35;
  parameters.MeshAlgo = IMeshTools_MeshAlgoType_Delabella;
  const BRepMesh_IncrementalMesh mesh(copy, parameters);
  Box box;
  for (TopExp_Explorer faces(copy, TopAbs_FACE); faces.More(); faces.Next()) {
    TopLoc_Location location;
    const auto triangles = BRep_Tool::Triangulation(TopoDS::Face(faces.Current()), location);
    for (int i = 1; !triangles.IsNull() && i <= triangles->NbNodes(); ++i) {
      const gp_Pnt point = triangles->Node(i).Transformed(location);
      box.Add({point.X(), point.Y(), point.Z()});
    }
  }
  return box;
}

Box MeasureLabel(const TDF_Label& label, double& deflection) {
  TDF_Label product;
  if (XCAFDoc_ShapeTool::GetReferredShape(label, product)) {
    const gp_Trsf placement = XCAFDoc_ShapeTool::GetLocation(label).Transformation();
    glm::dmat4 matrix(1.0);
    for (int column = 0; column < 4; ++column) {
      for (int row = 0; row < 3; ++row) {
        matrix[column][row] = placement.Value(row + 1, column + 1);
      }
    }
    return Place(MeasureLabel(product, deflection), matrix);
  }
  TDF_LabelSequence components;
  if (!XCAFDoc_ShapeTool::GetComponents(label, components)) {
    return MeasureShape(XCAFDoc_ShapeTool::GetShape(label), deflection);
  }
  Box all;
  for (const TDF_Label& component : components) {
    all.Add(MeasureLabel(component, deflection));
  }
  return all;
}

// The sample, or another STEP file to try: MIREL_TEST_STEP=file.step ProgramTests --gtest_filter='BoxVerb.*'
std::string GetSource() {
  const char* const other = std::getenv("MIREL_TEST_STEP");
  return other ? other : MIREL_SAMPLE;
}

TEST(BoxVerb, IsThatOfOpenCascadesTrianglesPlacedLevelByLevel) {
  const TestFolder scratch;
  const std::string folder = scratch.GetPath() + "model";
  std::string out;
  ASSERT_EQ(Mirel({"--quiet", "save", GetSource(), folder}, out), 0);

  ProgressBar progress(ProgressBar::Form::kNone);
  StepReader reader(progress);
  const SourceFile file(GetSource());
  const Handle(TDocStd_Document) document = reader.Read(file);
  ASSERT_FALSE(document.IsNull()) << reader.GetError();
  TDF_LabelSequence roots;
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
  Box source;
  double deflection = 0.0;
  for (const TDF_Label& root : roots) {
    source.Add(MeasureLabel(root, deflection));
  }
  ASSERT_EQ(Mirel({"box", folder, "--json"}, out), 0);
  rapidjson::Document json;
  json.Parse(out.c_str());
  ASSERT_TRUE(json.IsObject());
  EXPECT_STREQ(json["state"].GetString(), "finite");
  Box box;
  for (int axis = 0; axis < 3; ++axis) {
    box.min[axis] = json["min"][static_cast<rapidjson::SizeType>(axis)].GetDouble();
    box.max[axis] = json["max"][static_cast<rapidjson::SizeType>(axis)].GetDouble();
  }
  const double size = glm::length(box.max - box.min);
  // Where OpenCASCADE's triangles miss their face by more than the deflection they are split, which can only reach
  // farther out; elsewhere nothing but single precision lies between the two.
  int equalSides = 0;
  for (int axis = 0; axis < 3; ++axis) {
    for (const double beyond : {source.min[axis] - box.min[axis], box.max[axis] - source.max[axis]}) {
      EXPECT_GE(beyond, -1e-6 * size) << axis;
      EXPECT_LE(beyond, deflection) << axis;
      equalSides += std::abs(beyond) <= 1e-6 * size;
    }
  }
  EXPECT_GE(equalSides, 5);
}

TEST(BoxVerb, FindsAnItemWhereverItStands) {
  const TestFolder folder;
  LiteModel model;
  const auto cube = [&](unsigned long long id, double x) {
    return With<ShapeItem>(MakeShape(id, "", 10), [&](ShapeItem& item) { item.SetTransform(Move(x, 0, 0)); });
  };
  const auto moved = [](unsigned long long id, std::unique_ptr<GroupItem> group) {
    group->SetId(Id(id));
    group->SetTransform(Move(100, 0, 0));
    return group;
  };
  model.AddShape(Id(10), MakeBox(1, 1, 1));
  model.AddShape(Id(20), MakePlane());
  auto type = moved(7, MakeGroup(7, "T", cube(8, 5)));
  type->SetTag(2);
  model.AddType(std::move(type));
  model.AddItem(moved(1, MakeGroup(1, "G", cube(2, 3), MakeGroup(3, "empty"), MakeInstance(4, "", 7))));
  model.AddItem(MakeInstance(5, "", 7));
  LiteModelWriter(model).Save(folder.GetPath());

  const auto box = [&](const std::string& id) {
    std::string out;
    EXPECT_EQ(Mirel({"box", folder.GetPath(), "--id", id}, out), 0) << id;
    return out;
  };
  EXPECT_EQ(box("1"), "box of group \"G\" id 1, in the coordinates of the model, in mm\n"
                      "min 103 0 0\nmax 206 1 1\nsize 103 1 1\n");
  EXPECT_EQ(box("2"), "box of shape \"\" id 2, in the coordinates of group \"G\" id 1, in mm\n"
                      "min 3 0 0\nmax 4 1 1\nsize 1 1 1\n");
  EXPECT_EQ(box("3"), "box of group \"empty\" id 3, in the coordinates of group \"G\" id 1, in mm\nempty\n");
  EXPECT_EQ(box("7"), "box of group \"T\" id 7, in the coordinates of its instances, in mm\n"
                      "min 105 0 0\nmax 106 1 1\nsize 1 1 1\n");
  EXPECT_EQ(box("8"), "box of shape \"\" id 8, in the coordinates of group \"T\" id 7, in mm\n"
                      "min 5 0 0\nmax 6 1 1\nsize 1 1 1\n");

  std::string out;
  std::string err;
  EXPECT_EQ(Mirel({"box", folder.GetPath(), "--json", "--id", "2"}, out), 0);
  EXPECT_NE(out.find("\"state\": \"finite\""), std::string::npos) << out;
  EXPECT_NE(std::regex_replace(out, std::regex("\\s"), "").find("\"min\":[3,0,0],\"max\":[4,1,1]"),
            std::string::npos)
      << out;
  for (const std::string id : {"9", "10", "x", "01", "-1"}) {
    EXPECT_EQ(Mirel({"box", folder.GetPath(), "--id=" + id}, out, &err), 2) << id;
    EXPECT_EQ(out, "");
    EXPECT_NE(err.find("has no item with the id " + id + "\n"), std::string::npos) << err;
  }
}

TEST(BoxVerb, TellsEmptyInfiniteAndIncomplete) {
  const TestFolder folder;
  std::string out;
  std::string err;
  LiteModel model;
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out), 0);
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\nempty\n");
  EXPECT_EQ(Mirel({"box", "--json", folder.GetPath()}, out), 0);
  EXPECT_NE(out.find("\"state\": \"empty\""), std::string::npos);
  EXPECT_EQ(out.find("\"min\""), std::string::npos);

  model.AddShape(Id(20), MakePlane());
  model.AddItem(MakeShape(1, "", 20));
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out), 0);
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\ninfinite\n");

  model.AddItem(MakeShape(2, "", 99));
  LiteModelWriter(model).Save(folder.GetPath());
  EXPECT_EQ(Mirel({"box", folder.GetPath()}, out, &err), 2) << "with what is there";
  EXPECT_EQ(out, "box of the model, in its coordinates, in mm\ninfinite\n");
  EXPECT_NE(err.find("Shape is null!"), std::string::npos);
}

}  // namespace
}  // namespace mirel

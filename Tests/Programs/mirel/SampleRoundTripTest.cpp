#include <Programs/mirel/Import/StepReader.h>
#include <Programs/mirel/Import/XcafLabel.h>
#include <Programs/mirel/StageProgress.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <vector>

namespace mirel {
namespace {

// One part as it is seen, however it was stored.
struct Placed {
  std::vector<std::string> names;  // from the outside in
  glm::dmat4 matrix;
  glm::vec3 color;
  std::size_t coloredFaces;
  double volume;
  double area;
};

void Measure(const TopoDS_Shape& shape, Placed& placed) {
  GProp_GProps volume;
  GProp_GProps area;
  BRepGProp::VolumeProperties(shape, volume);
  BRepGProp::SurfaceProperties(shape, area);
  placed.volume = volume.Mass();
  placed.area = area.Mass();
}

// What XCAF says, straight from its labels.
void WalkXcaf(const Handle(TDocStd_Document) & document, const TDF_Label& label, Placed here,
              std::vector<Placed>& found) {
  const Handle(XCAFDoc_ColorTool) colors = XCAFDoc_DocumentTool::ColorTool(document->Main());
  here.names.push_back(XcafLabel::GetName(label));
  const auto color = XcafLabel::GetColor(colors, label);
  TDF_Label referred;
  if (XCAFDoc_ShapeTool::GetReferredShape(label, referred)) {
    const gp_Trsf placement = XCAFDoc_ShapeTool::GetLocation(label).Transformation();
    glm::dmat4 matrix(1.0);
    for (int column = 0; column < 4; ++column) {
      for (int row = 0; row < 3; ++row) {
        matrix[column][row] = placement.Value(row + 1, column + 1);
      }
    }
    here.matrix = here.matrix * matrix;
    here.color = color ? glm::vec3(*color) : glm::vec3(-1);
    WalkXcaf(document, referred, here, found);
    return;
  }
  if (here.color.r < 0) {
    here.color = color ? glm::vec3(*color) : glm::vec3(-1);
  }
  TDF_LabelSequence components;
  if (XCAFDoc_ShapeTool::GetComponents(label, components)) {
    for (const TDF_Label& component : components) {
      WalkXcaf(document, component, here, found);
    }
    return;
  }
  TDF_LabelSequence parts;
  XCAFDoc_ShapeTool::GetSubShapes(label, parts);
  TopTools_IndexedMapOfShape colored;  // the faces of coloured solids too
  for (const TDF_Label& part : parts) {
    TopExp::MapShapes(XCAFDoc_ShapeTool::GetShape(part), TopAbs_FACE, colored);
  }
  here.coloredFaces = static_cast<std::size_t>(colored.Extent());
  Measure(XCAFDoc_ShapeTool::GetShape(label), here);
  found.push_back(here);
}

// What a viewer gets.
void WalkNodes(const SceneNode& node, Placed here, std::vector<Placed>& found) {
  here.names.push_back(node.GetName());
  here.matrix = here.matrix * node.GetTransform();
  if (const auto* group = dynamic_cast<const GroupSceneNode*>(&node)) {
    for (const auto& child : group->GetNodes()) {
      WalkNodes(*child, here, found);
    }
    return;
  }
  const auto& shape = dynamic_cast<const BrepSceneNode&>(node);
  here.color = shape.GetColor();
  here.coloredFaces = shape.GetFaceColors().size();
  Measure(shape.GetGRep()->GetShape()->GetImpl(), here);
  found.push_back(here);
}

// What is told of the progress, stage by stage: the largest share of it.
class Stages : public StageProgress {
 public:
  void Begin(const std::string& stage) override { stages.emplace_back(stage, -1.0); }
  void SetFraction(double fraction) override {
    EXPECT_GE(fraction, stages.back().second);
    stages.back().second = fraction;
  }
  std::vector<std::pair<std::string, double>> stages;
};

TEST(SampleRoundTripTest, WhatAViewerGetsIsWhatXcafReads) {
  const TestFolder scratch;
  const std::string folder = scratch.GetPath() + "设计";
  ASSERT_EQ(Mirel({"--quiet", "save", "--strict", MIREL_SAMPLE, folder}), 0);

  Stages progress;
  StepReader reader(progress);
  const SourceFile file(MIREL_SAMPLE);
  const Handle(TDocStd_Document) document = reader.Read(file);
  ASSERT_FALSE(document.IsNull()) << reader.GetError();
  ASSERT_EQ(progress.stages.size(), 3u);
  EXPECT_EQ(progress.stages[0].first, "reading");
  EXPECT_EQ(progress.stages[1].first, "analysis");
  EXPECT_GT(progress.stages[1].second, 0.9);
  EXPECT_EQ(progress.stages[2].first, "transfer");
  EXPECT_GT(progress.stages[2].second, 0.9);
  TDF_LabelSequence roots;
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
  std::vector<Placed> source;
  for (const TDF_Label& root : roots) {
    WalkXcaf(document, root, {{}, glm::dmat4(1.0), glm::vec3(-1), 0, 0, 0}, source);
  }

  LogCapture log;
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "/index.gz", nullptr);
  ASSERT_TRUE(root);
  EXPECT_TRUE(log.GetTexts(3).empty());
  std::vector<Placed> seen;
  for (const auto& node : dynamic_cast<const GroupSceneNode&>(*root).GetNodes()) {
    WalkNodes(*node, {{}, glm::dmat4(1.0), glm::vec3(-1), 0, 0, 0}, seen);
  }

  ASSERT_EQ(source.size(), 22u);
  ASSERT_EQ(seen.size(), source.size());
  for (std::size_t i = 0; i < source.size(); ++i) {
    const Placed& a = source[i];
    const Placed& b = seen[i];
    EXPECT_EQ(a.names, b.names) << i;  // of every product and every instance on the way down
    EXPECT_EQ(a.color, b.color) << i;
    EXPECT_EQ(a.coloredFaces, b.coloredFaces) << i;
    EXPECT_NEAR(a.volume, b.volume, 1e-9 * std::abs(a.volume)) << i;
    EXPECT_NEAR(a.area, b.area, 1e-9 * a.area) << i;
    for (int column = 0; column < 4; ++column) {
      for (int row = 0; row < 4; ++row) {
        EXPECT_NEAR(a.matrix[column][row], b.matrix[column][row], 1e-9) << i;
      }
    }
  }
}

// OpenCASCADE takes a name without any visible ASCII character for blank, and has an id in its place.
TEST(SampleRoundTripTest, NamesInAnyScriptAreKept) {
  const struct {
    const char* inSample;
    const char* instead;
    const char* name;
  } cases[] = {
      // Products have an id and a name: a top assembly, another one, and parts.
      {"'工具车','工具车'", "'T-1',' 手推车 '", " 手推车 "},
      {"'Fahrgestell','Fahrgestell'", R"('A-1','\X2\8ECA53F0\X0\')", "車台"},
      {"'Gabel','Gabel'", R"('P-1','\X2\53C9\X0\')", "叉"},
      {"'Rad Ø100','Rad Ø100'", "'P-2','車輪'", "車輪"},
      {"'Griff Größe L','Griff Größe L'", "'把手',' '", "把手"},
      // Components have a name and a description, which comes first.
      {"'deck',''", R"('\X2\7532677F\X0\','')", "甲板"},
      {"'fork',''", "'вилка',' '", "вилка"},
      {"'drawer top',''", R"('\X4\0001F5C4\X0\','')", "🗄"},
      {"'drawer middle',''", R"('\X\D8\S\D','')", "ØÄ"},
      {"'drawer bottom',''", "'bottom','下'", "下"},
      {"'push handle',''", "'push 手',''", "push 手"},
      {"'ballast',''", "'重','ballast'", "ballast"},
  };
  std::string content = ReadFile(MIREL_SAMPLE);
  for (const auto& one : cases) {
    const std::size_t place = content.find(one.inSample);
    ASSERT_NE(place, std::string::npos) << one.inSample;
    content.replace(place, std::strlen(one.inSample), one.instead);
  }
  const TestFolder scratch;
  const std::string folder = scratch.GetPath() + "model";
  WriteFile(scratch.GetPath() + "names.step", content);
  ASSERT_EQ(Mirel({"--quiet", "save", "--strict", scratch.GetPath() + "names.step", folder}), 0);

  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(folder + "/index.gz", nullptr);
  ASSERT_TRUE(root);
  std::vector<Placed> seen;
  WalkNodes(*root, {{}, glm::dmat4(1.0), glm::vec3(-1), 0, 0, 0}, seen);
  std::set<std::string> names;
  for (const Placed& placed : seen) {
    names.insert(placed.names.begin(), placed.names.end());
  }
  for (const auto& one : cases) {
    EXPECT_EQ(names.count(one.name), 1u) << one.name;
  }
  EXPECT_EQ(names.count("底盘"), 1u);  // as the sample has it
}

TEST(SampleRoundTripTest, SavingTwiceGivesTheSameBytes) {
  const TestFolder scratch;
  const std::string& path = scratch.GetPath();
  ASSERT_EQ(Mirel({"--quiet", "save", MIREL_SAMPLE, path + "a"}), 0);
  ASSERT_EQ(Mirel({"--quiet", "save", MIREL_SAMPLE, path + "b"}), 0);
  const FileContents files = ReadFiles(path + "a");
  EXPECT_EQ(files.size(), 5u);  // index, bodies, graphics, extras, checksums
  EXPECT_TRUE(ReadFiles(path + "b") == files);

  // A source that cannot be read replaces nothing.
  WriteFile(path + "box.brep", "no body");
  EXPECT_EQ(Mirel({"--quiet", "save", "--force", path + "box.brep", path + "b"}), 2);
  EXPECT_TRUE(ReadFiles(path + "b") == files);
}

}  // namespace
}  // namespace mirel

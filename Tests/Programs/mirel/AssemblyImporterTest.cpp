#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Import/SourceCensus.h>
#include <Programs/mirel/Open/ModelFolder.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/XcafDocument.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRep_Builder.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>

namespace mirel {
namespace {

const glm::vec3 kRed(1, 0, 0);
const glm::vec3 kGreen(0, 1, 0);
const glm::vec3 kBlue(0, 0, 1);
const glm::vec3 kBrown(0.8F, 0.5F, 0.1F);
const glm::vec3 kNone(-1);

// An XCAF document to be imported.
class ImportTest : public ::testing::Test, protected XcafDocument {
 protected:
  void Import() {
    shapes_->UpdateAssemblies();
    importer_ = std::make_unique<AssemblyImporter>(document_, 1, model_);
    importer_->Import();
  }

  const GroupItem& Top() const { return dynamic_cast<const GroupItem&>(*model_.GetItems().at(0)); }
  const InstanceItem& Instance(const GroupItem& group, std::size_t i) const {
    return dynamic_cast<const InstanceItem&>(*group.GetChildren().at(i));
  }
  template <typename Item>
  const Item& TypeOf(const InstanceItem& instance) const {
    return dynamic_cast<const Item&>(*model_.FindType(instance.GetTypeId()));
  }

  LiteModel model_;
  std::unique_ptr<AssemblyImporter> importer_;
};

TopoDS_Shape MakeBox() {
  return BRepPrimAPI_MakeBox(10, 20, 30).Shape();
}

TEST_F(ImportTest, SharedProductsBecomeTypes) {
  const TDF_Label top = Assembly("top");
  const TDF_Label part = Part("part", MakeBox());
  Color(part, kBrown);
  Place(top, part, "left 左", 5);
  Place(top, part, nullptr, -5);
  Import();
  ASSERT_EQ(model_.GetItems().size(), 1u);
  EXPECT_EQ(Top().GetName(), "top");
  ASSERT_EQ(Top().GetChildren().size(), 2u);
  const InstanceItem& left = Instance(Top(), 0);
  EXPECT_EQ(left.GetName(), "left 左");
  EXPECT_EQ(left.GetTransform()[3], glm::dvec4(5, 0, 0, 1));
  EXPECT_EQ(left.GetColor(), kNone);
  EXPECT_EQ(Instance(Top(), 1).GetName(), "");
  EXPECT_EQ(Instance(Top(), 1).GetTypeId(), left.GetTypeId());
  const auto& type = TypeOf<ShapeItem>(left);
  EXPECT_EQ(type.GetId(), left.GetTypeId());
  EXPECT_EQ(type.GetName(), "part");
  EXPECT_LT(glm::distance(type.GetColor(), kBrown), 1e-6F);  // as in the file, in no other colour space
  ASSERT_TRUE(model_.FindShape(type.GetShapeId()));
  EXPECT_TRUE(model_.FindShape(type.GetShapeId())->GetImpl().Location().IsIdentity());
  EXPECT_EQ(importer_->GetRecord().colorVariants, 0u);
}

// The module writes a type that is used once in place of its instance: what would be lost by that needs a
// group.
TEST_F(ImportTest, TypesUsedOnceLoseNothing) {
  const TDF_Label top = Assembly("top");
  Place(top, Part("bolt", MakeBox()), "bolt");
  Place(top, Part("nut", MakeBox()), nullptr);
  const TDF_Label sub = Assembly("sub");
  Place(sub, Part("pin", MakeBox()), "pin 1");
  Color(sub, kBlue);
  Color(Place(top, sub, "sub"), kGreen);
  Import();

  EXPECT_EQ(TypeOf<ShapeItem>(Instance(Top(), 0)).GetName(), "bolt");
  // An instance without a name takes that of its product, which would have been overwritten by nothing.
  EXPECT_EQ(Instance(Top(), 1).GetName(), "nut");
  EXPECT_EQ(TypeOf<ShapeItem>(Instance(Top(), 1)).GetName(), "nut");
  // Two names: a group that stands for the instance.
  const auto& ofSub = TypeOf<GroupItem>(Instance(Top(), 2));
  EXPECT_EQ(ofSub.GetId(), Instance(Top(), 2).GetId());
  ASSERT_EQ(ofSub.GetChildren().size(), 1u);
  EXPECT_EQ(ofSub.GetChildren()[0]->GetName(), "sub");
  EXPECT_EQ(ofSub.GetChildren()[0]->GetColor(), kBlue);  // the instance's own is green
  const auto& product = dynamic_cast<const GroupItem&>(*ofSub.GetChildren()[0]);
  const auto& ofPin = TypeOf<GroupItem>(Instance(product, 0));
  EXPECT_EQ(ofPin.GetId(), Instance(product, 0).GetId());
  EXPECT_EQ(Instance(product, 0).GetName(), "pin 1");
  EXPECT_EQ(ofPin.GetChildren()[0]->GetName(), "pin");
  EXPECT_EQ(ofPin.GetChildren()[0]->GetColor(), kGreen);  // what is seen, from the instance two levels above
}

TEST_F(ImportTest, AnInstanceShowsItsOwnColor) {
  const TDF_Label top = Assembly("top");
  const TDF_Label part = Part("part", MakeBox());
  const TDF_Label plain = Part("plain", MakeBox());
  Color(part, kRed);
  Place(top, part, "a");
  Color(Place(top, part, "b"), kBlue);
  Color(Place(top, part, "c"), kBlue);
  const TDF_Label sub = Assembly("sub");
  Place(sub, plain, "x");
  Place(sub, part, "y");
  Place(top, sub, "none");
  Color(Place(top, sub, "green"), kGreen);
  Import();
  const auto seen = [&](const InstanceItem& instance) {
    const LiteModelItem* item = model_.FindType(instance.GetTypeId());
    if (const auto* wrapper = dynamic_cast<const GroupItem*>(item)) {
      item = wrapper->GetChildren().at(0).get();
    }
    return dynamic_cast<const ShapeItem&>(*item).GetColor();
  };
  EXPECT_EQ(seen(Instance(Top(), 0)), kRed);
  EXPECT_EQ(seen(Instance(Top(), 1)), kBlue);
  EXPECT_EQ(Instance(Top(), 1).GetColor(), kBlue);
  EXPECT_EQ(Instance(Top(), 1).GetTypeId(), Instance(Top(), 2).GetTypeId());  // one type for both blue ones
  // An assembly's colour reaches what has none of its own inside, and nothing else.
  for (const std::size_t i : {std::size_t{3}, std::size_t{4}}) {
    const auto& wrapper = TypeOf<GroupItem>(Instance(Top(), i));
    const auto& group = dynamic_cast<const GroupItem&>(*wrapper.GetChildren().at(0));
    EXPECT_EQ(seen(Instance(group, 0)), i == 4 ? kGreen : kNone);
    EXPECT_EQ(seen(Instance(group, 1)), kRed);
  }
  EXPECT_EQ(model_.GetShape().size(), 2u);  // colours do not multiply bodies
  EXPECT_EQ(importer_->GetRecord().colorVariants,
            3u);  // a blue part, a green plain one, and the sub that holds it
}

// The colours of all shapes by the names of the instances around them, which have one letter.
void AddSeen(const LiteModel& model, const LiteModelItem& item, std::string path,
             std::map<std::string, glm::vec3>& seen) {
  if (item.GetName().size() == 1) {
    path += item.GetName();
  }
  if (const auto* instance = dynamic_cast<const InstanceItem*>(&item)) {
    AddSeen(model, *model.FindType(instance->GetTypeId()), path, seen);
  } else if (const auto* group = dynamic_cast<const GroupItem*>(&item)) {
    for (const auto& child : group->GetChildren()) {
      AddSeen(model, *child, path, seen);
    }
  } else {
    seen[path] = item.GetColor();
  }
}

std::map<std::string, glm::vec3> Seen(const LiteModel& model) {
  std::map<std::string, glm::vec3> seen;
  for (const auto& item : model.GetItems()) {
    AddSeen(model, *item, "", seen);
  }
  return seen;
}

TEST_F(ImportTest, AnAssemblyColorsSingleOccurrencesInsideIt) {
  const TDF_Label part = Part("part", MakeBox());
  const TDF_Label sub = Assembly("sub");
  const TDF_Label mid = Assembly("mid");
  const TDF_Label top = Assembly("top");
  Color(part, kGreen);
  const TDF_Label p = Place(sub, part, "p", 0);
  const TDF_Label q = Place(sub, part, "q", 20);
  const TDF_Label r = Place(mid, sub, "r", 100);
  const TDF_Label s = Place(mid, sub, "s", 200);
  const TDF_Label m = Place(top, mid, "m", 1000);
  const TDF_Label n = Place(top, mid, "n", 2000);
  Place(top, sub, "t", 3000);
  shapes_->UpdateAssemblies();
  const auto colorOccurrence = [&](std::initializer_list<TDF_Label> way, const glm::vec3& color) {
    TDF_LabelSequence labels;
    for (const TDF_Label& label : way) {
      labels.Append(label);
    }
    Handle(XCAFDoc_GraphNode) node;
    ASSERT_TRUE(shapes_->SetSHUO(labels, node));
    Color(node->Label(), color);
  };
  Color(q, kBrown);
  colorOccurrence({r, q}, kRed);
  colorOccurrence({n, s, p}, kBlue);
  colorOccurrence({m, r, p}, kBlue);
  colorOccurrence({m, r, q}, kBlue);  // before what mid says of it
  Import();
  const std::map<std::string, glm::vec3> expected = {
      {"mrp", kBlue}, {"mrq", kBlue}, {"msp", kGreen}, {"msq", kBrown}, {"nrp", kGreen},
      {"nrq", kRed},  {"nsp", kBlue}, {"nsq", kBrown}, {"tp", kGreen},  {"tq", kBrown}};
  EXPECT_EQ(Seen(model_), expected);
  EXPECT_EQ(model_.GetShape().size(), 1u);

  // The same out of a STEP file, with all colours found again in the folder.
  const TestFolder scratch;
  const std::string step = scratch.GetPath() + "occurrences.step";
  STEPCAFControl_Writer writer;
  writer.SetSHUOMode(true);
  ASSERT_TRUE(writer.Perform(document_, step.c_str()));
  std::string report;
  EXPECT_EQ(Mirel({"save", "--strict", "--json", step, scratch.GetPath() + "folder"}, report), 0) << report;
  EXPECT_NE(report.find("\"coloredItems\": 6"), report.rfind("\"coloredItems\": 6")) << report;
  ModelFolder folder;
  ASSERT_TRUE(folder.Load(scratch.GetPath() + "folder"));
  EXPECT_EQ(Seen(folder.GetModel()), expected);
}

TEST_F(ImportTest, TheInnermostColorOfAFaceCounts) {
  const TopoDS_Shape first = MakeBox();
  const TopoDS_Shape second = BRepPrimAPI_MakeBox(gp_Pnt(100, 0, 0), 1, 1, 1).Shape();
  TopoDS_Compound both;
  BRep_Builder builder;
  builder.MakeCompound(both);
  builder.Add(both, first);
  builder.Add(both, second);
  const TDF_Label part = Part("part", both);
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(both, TopAbs_FACE, faces);
  ASSERT_EQ(faces.Extent(), 12);
  ColorPart(part, faces(4), kGreen);  // before the solid: the order of labels means nothing
  ColorPart(part, first, kBlue);
  ColorPart(part, faces(9), kBlue);
  Color(part, kRed);
  Import();
  const auto& item = dynamic_cast<const ShapeItem&>(*model_.GetItems().at(0));
  EXPECT_EQ(item.GetColor(), kRed);
  ASSERT_EQ(item.GetFaceColor().size(), 7u);
  for (std::uint32_t face = 0; face < 6; ++face) {
    EXPECT_EQ(item.GetFaceColor().at(face), face == 3 ? kGreen : kBlue) << face;
  }
  EXPECT_EQ(item.GetFaceColor().at(8), kBlue);
  EXPECT_EQ(SourceCensus(document_).GetCounts().coloredFaces, 7u);
}

TEST_F(ImportTest, ABodyIsStoredOnceAndUnplaced) {
  gp_Trsf turn;
  turn.SetRotation(gp_Ax1(gp_Pnt(1, 2, 3), gp_Dir(1, 1, 1)), 1.0);
  const TopoDS_Shape box = MakeBox();
  const TDF_Label top = Assembly("top");
  Place(top, Part("a", box), "a");
  const TDF_Label placed = shapes_->AddShape(box.Located(TopLoc_Location(turn)), false);
  Import();
  EXPECT_EQ(model_.GetShape().size(), 1u);
  for (const auto& shape : model_.GetShape()) {
    EXPECT_TRUE(shape.second->GetImpl().Location().IsIdentity());
    EXPECT_TRUE(shape.second->GetImpl().IsPartner(box));
  }
  ASSERT_FALSE(placed.IsNull());
  ASSERT_EQ(model_.GetItems().size(), 2u);
  const glm::dmat4& matrix = model_.GetItems()[1]->GetTransform();
  for (int column = 0; column < 4; ++column) {
    for (int row = 0; row < 3; ++row) {
      EXPECT_EQ(matrix[column][row], turn.Value(row + 1, column + 1));
    }
  }
}

TEST_F(ImportTest, TheCensusNamesWhatAFolderCannotHold) {
  const TDF_Label top = Assembly("top");
  const TopoDS_Shape box = MakeBox();
  const TDF_Label part = Part("part", box);
  Place(top, part, "a");
  const TDF_Label hidden = Place(top, part, "b");
  colors_->SetVisibility(hidden, false);
  colors_->SetColor(part, Quantity_ColorRGBA(Quantity_Color(1, 0, 0, Quantity_TOC_sRGB), 0.25F),
                    XCAFDoc_ColorSurf);
  colors_->SetColor(part, Quantity_Color(0, 0, 0, Quantity_TOC_sRGB), XCAFDoc_ColorCurv);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box, TopAbs_EDGE, edges);
  ColorPart(part, edges(1), kBlue);
  shapes_->UpdateAssemblies();

  const SourceCensus census(document_);
  const auto lost = [&](const std::string& key) {
    const auto& losses = census.GetLosses();
    const auto loss = std::find_if(losses.begin(), losses.end(), [&](const auto& l) { return l.key == key; });
    return loss == losses.end() ? 999u : loss->count;
  };
  EXPECT_EQ(lost("transparency"), 1u);
  EXPECT_EQ(lost("hiddenItems"), 1u);
  EXPECT_EQ(lost("curveColors"), 2u);
  EXPECT_EQ(lost("layers"), 0u);
  EXPECT_EQ(census.GetCounts().products, 2u);
  EXPECT_EQ(census.GetCounts().instances, 2u);
  EXPECT_EQ(census.GetCounts().placedShapes, 2u);
  EXPECT_EQ(census.GetCounts().names, 4u);
  EXPECT_EQ(census.GetCounts().coloredFaces, 0u);
}

}  // namespace
}  // namespace mirel

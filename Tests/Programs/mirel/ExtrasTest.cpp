#include <Programs/mirel/Check/FolderCheck.h>
#include <Programs/mirel/Extras/ExtrasCollector.h>
#include <Programs/mirel/Extras/ExtrasReader.h>
#include <Programs/mirel/Extras/ExtrasText.h>
#include <Programs/mirel/Extras/ExtrasWriter.h>
#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Import/OcctMessages.h>

#include <Tests/Docs/MarkdownFile.h>
#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/XcafDocument.h>

#include <APIHeaderSection_MakeHeader.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDF_LabelSequence.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_Area.hxx>
#include <XCAFDoc_Centroid.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_MaterialTool.hxx>
#include <XCAFDoc_Volume.hxx>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace mirel {
namespace {

Handle(TCollection_HAsciiString) Text(const char* text) {
  return new TCollection_HAsciiString(text);
}

// An assembly "top" of "sub" (twice) and "b", and "sub" of "a" and "b".
class ExtrasTest : public ::testing::Test, protected XcafDocument {
 protected:
  ExtrasTest() : folder_(scratch_.GetPath() + "folder/"), step_(scratch_.GetPath() + "all.step") {
    top_ = Assembly("top");
    const TDF_Label sub = Assembly("sub");
    box_ = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
    a_ = Part("a", box_);
    b_ = Part("b", BRepPrimAPI_MakeBox(1, 2, 3).Shape());
    Place(sub, a_, "sub a");
    subB_ = Place(sub, b_, "sub b", 50);
    one_ = Place(top_, sub, "one");
    two_ = Place(top_, sub, "two", 100);
    alone_ = Place(top_, b_, "alone", 200);
  }

  TopoDS_Shape SubShape(TopAbs_ShapeEnum kind, int index) const {
    TopTools_IndexedMapOfShape all;
    TopExp::MapShapes(box_, kind, all);
    return all(index + 1);
  }

  void SayEverything() {
    Color(a_, {1, 0, 0}, 0.25F);
    Color(b_, {1, 1, 1});
    Color(alone_, {0, 1, 1}, 0.75F);
    Color(two_, {0.5, 0.5, 0.5});
    ColorPart(a_, SubShape(TopAbs_FACE, 1), {0, 1, 0}, 0.5F);
    colors_->SetColor(a_, Quantity_Color(0, 0, 1, Quantity_TOC_sRGB), XCAFDoc_ColorCurv);
    colors_->SetColor(shapes_->AddSubShape(a_, SubShape(TopAbs_EDGE, 2)),
                      Quantity_Color(1, 0, 1, Quantity_TOC_sRGB), XCAFDoc_ColorCurv);
    colors_->SetVisibility(two_, false);
    TDF_LabelSequence way;
    way.Append(one_);
    way.Append(subB_);
    Handle(XCAFDoc_GraphNode) occurrence;
    ASSERT_TRUE(shapes_->SetSHUO(way, occurrence));
    Color(occurrence->Label(), {1, 1, 0});
    colors_->SetVisibility(occurrence->Label(), false);

    const Handle(XCAFDoc_LayerTool) layers = XCAFDoc_DocumentTool::LayerTool(document_->Main());
    layers->SetLayer(a_, TCollection_ExtendedString("图层", true));
    layers->SetLayer(shapes_->AddSubShape(a_, SubShape(TopAbs_FACE, 0)), TCollection_ExtendedString("faces"));
    const Handle(XCAFDoc_MaterialTool) materials = XCAFDoc_DocumentTool::MaterialTool(document_->Main());
    materials->SetMaterial(b_, Text("steel"), Text("S235"), 7.85, Text("density measure"),
                           Text("POSITIVE_RATIO_MEASURE"));
    XCAFDoc_Volume::Set(a_, 6000);
    XCAFDoc_Area::Set(a_, 2200);
    XCAFDoc_Centroid::Set(a_, gp_Pnt(5, 10, 15));
  }

  void Write() {
    const OcctMessages quiet;
    shapes_->UpdateAssemblies();
    STEPCAFControl_Writer writer;
    writer.SetLayerMode(true);
    writer.SetPropsMode(true);
    writer.SetMaterialMode(true);
    writer.SetSHUOMode(true);
    ASSERT_TRUE(writer.Transfer(document_, STEPControl_AsIs));
    APIHeaderSection_MakeHeader header(writer.ChangeWriter().Model());
    header.SetAuthorValue(1, Text("Anna Muster"));
    ASSERT_EQ(writer.Write(step_.c_str()), IFSelect_RetDone);
  }

  int Save(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = {"save", "--force", step_, folder_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Mirel(arguments, report_);
  }

  // The extras, with names in place of ids; items of one name are told apart by what is said of them.
  std::set<std::string> Lines() {
    std::string text;
    EXPECT_EQ(Mirel({"info", "--extras", folder_}, text), 0);
    std::string tree;
    EXPECT_EQ(Mirel({"tree", folder_}, tree), 0);
    const std::regex node("\"([^\"]*)\" id ([0-9]+)");
    for (std::sregex_iterator found(tree.begin(), tree.end(), node); found != std::sregex_iterator();
         ++found) {
      text = std::regex_replace(text, std::regex((*found)[2].str()), (*found)[1].str());
    }
    std::set<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
      lines.insert(line);
    }
    return lines;
  }

  // What a check finds when the extras are these, by codes.
  std::string Check(const std::string& json) {
    WriteGzip(folder_ + "extras.gz", json);
    std::filesystem::remove(std::filesystem::u8path(folder_ + "SHA256SUMS"));  // which would not fit
    FolderCheck check(folder_);
    check.Run(FolderCheck::Level::kAgreement);
    std::string codes;
    for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
      const auto code = static_cast<CheckCode>(i);
      if (check.GetFindings().GetCount(code) > 0) {
        codes += std::string(codes.empty() ? "" : " ") + Describe(code).id;
      }
    }
    return codes;
  }

  const TestFolder scratch_;
  const std::string folder_;
  const std::string step_;
  std::string report_;
  TopoDS_Shape box_;
  TDF_Label top_, a_, b_, subB_, one_, two_, alone_;
};

TEST_F(ExtrasTest, EveryKindComesThroughASave) {
  SayEverything();
  Write();
  ASSERT_EQ(Save({"--strict", "--json"}), 0) << report_;
  for (const char* const kept : {R"("transparency": 3,)", R"("hiddenItems": 2,)", R"("curveColors": 2,)",
                                 R"("layers": 2,)", R"("materials": 1,)", R"("properties": 3,)"}) {
    EXPECT_NE(report_.find(kept), std::string::npos) << kept << report_;
  }
  std::set<std::string> lines = Lines();
  EXPECT_EQ(lines.count("header Authors: \"Anna Muster\""), 1u);
  EXPECT_EQ(lines.count("header Format: \"STEP\""), 1u);
  for (auto line = lines.begin(); line != lines.end();) {
    line = line->compare(0, 7, "header ") == 0 ? lines.erase(line) : std::next(line);
  }
  const std::set<std::string> expected = {
      "layer \"图层\": shown",      "layer \"faces\": shown",
      "item two: hidden",           "item sub b or sub b within one: hidden",
      "item a: alpha 0.25",         "item b: alpha 0.75",
      "item alone: alpha 0.75",     "item a: edges color 0 0 1",
      "item a: edge 2 color 1 0 1", "item a: face 1 alpha 0.5",
      "item a: layer \"图层\"",     "item a: Face 0: layer \"faces\"",
      "item a: volume 6000",        "item a: area 2200",
      "item a: centroid 5 10 15",   "item b or b: material \"steel\" \"S235\" density 7.85",
  };
  EXPECT_EQ(lines, expected);

  std::string said;
  EXPECT_EQ(Mirel({"check", "--strict", folder_}, said), 0) << said;
  const FileContents first = ReadFiles(folder_);
  EXPECT_EQ(first.count("extras.gz"), 1u);
  ASSERT_EQ(Save(), 0);
  EXPECT_TRUE(ReadFiles(folder_) == first);
}

// What no STEP file brings here, but XCAF can say.
TEST_F(ExtrasTest, PartsOfABodyAreNamedByTheirKindAndIndex) {
  const auto part = [&](TopAbs_ShapeEnum kind, int index) {
    return shapes_->AddSubShape(a_, SubShape(kind, index));
  };
  Name(part(TopAbs_FACE, 4), "bore");
  colors_->SetVisibility(part(TopAbs_FACE, 3), false);
  colors_->SetVisibility(part(TopAbs_EDGE, 7), false);
  colors_->SetVisibility(part(TopAbs_VERTEX, 0), false);  // nothing draws it
  colors_->SetColor(part(TopAbs_FACE, 5), Quantity_Color(0, 0, 1, Quantity_TOC_sRGB), XCAFDoc_ColorCurv);
  const Handle(XCAFDoc_LayerTool) layers = XCAFDoc_DocumentTool::LayerTool(document_->Main());
  layers->SetLayer(alone_, TCollection_ExtendedString("off"));
  layers->SetVisibility(layers->FindLayer("off"), false);
  shapes_->UpdateAssemblies();
  LiteModel model;
  AssemblyImporter importer(document_, 1, model);
  importer.Import();
  ExtrasCollector collector(document_, importer);
  collector.Collect();
  const Extras& extras = collector.GetExtras();
  ASSERT_EQ(extras.items.size(), 2u);
  const Extras::Item& item = extras.items[extras.items[0].parts.empty() ? 1 : 0];
  EXPECT_EQ(item.hiddenFaces, std::set<std::uint32_t>{3});
  EXPECT_EQ(item.hiddenEdges, std::set<std::uint32_t>{7});
  EXPECT_EQ(item.edgeColors.size(), 4u);
  ASSERT_EQ(item.parts.size(), 1u);
  EXPECT_EQ(item.parts[0].kind + std::to_string(item.parts[0].index) + item.parts[0].name, "Face4bore");
  ASSERT_EQ(extras.layers.size(), 1u);
  EXPECT_TRUE(extras.layers[0].hidden);
  EXPECT_EQ(collector.GetCounts().at("hiddenItems"), 2u);
}

TEST_F(ExtrasTest, ADamagedFileIsRefusedAndTheModelShown) {
  Write();
  ASSERT_EQ(Save(), 0);
  const std::string path = folder_ + "extras.gz";
  const std::string whole = ReadFile(path);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    ExtrasReader reader;
    EXPECT_FALSE(reader.ReadGzip(whole.substr(0, size))) << size;
    EXPECT_NE(reader.GetError(), "");
  }
  WriteGzip(path, std::string(ExtrasWriter::kMaxBytes + 1, ' '));
  std::string out;
  std::string err;
  EXPECT_EQ(Mirel({"tree", "--json", folder_}, out, &err), 2);
  EXPECT_NE(out.find("{\"nodes\":[{\"kind\":\"group\",\"name\":\"top\""), std::string::npos);
  EXPECT_NE(err.find("extras.gz: holds more than 32 MiB"), std::string::npos) << err;
  EXPECT_EQ(Mirel({"tree", folder_}), 0);
  EXPECT_EQ(Mirel({"info", "--extras", folder_}), 2);
  std::filesystem::remove(std::filesystem::u8path(path));
  std::filesystem::create_directory(std::filesystem::u8path(path));
  EXPECT_EQ(Mirel({"check", folder_}, out), 6);
  EXPECT_NE(out.find("X001 error extras.gz: is not a regular file\n"), std::string::npos) << out;
}

TEST_F(ExtrasTest, TheCheckFindsWhatIsWrong) {
  Write();
  ASSERT_EQ(Save(), 0);
  std::string tree;
  ASSERT_EQ(Mirel({"tree", folder_}, tree), 0);
  std::smatch shape;
  ASSERT_TRUE(std::regex_search(tree, shape, std::regex("shape \"a\" id ([0-9]+)")));
  const auto about = [&](const std::string& members) {
    return Check("{\"Version\":1,\"Items\":[{\"Ids\":[\"" + shape[1].str() + "\"]," + members + "}]}");
  };
  EXPECT_EQ(Check("[1]"), "X002");
  EXPECT_EQ(Check(std::string(5000, '[')), "X002");
  EXPECT_EQ(Check("{\"Version\":2,\"Items\":{},\"New\":1,\"New\":2}"), "X003 X004 X006");
  EXPECT_EQ(Check("{\"Version\":1,\"Version\":1}"), "X005");
  EXPECT_EQ(Check("{\"Version\":1,\"Items\":[{\"Ids\":[\"1\"]}]}"), "X007");
  EXPECT_EQ(Check("{\"Version\":1,\"Items\":[7,{},{\"Ids\":[\"x\"]},{\"Ids\":[]}]}"), "X003 X007");
  for (const char* const good :
       {"\"Hidden\":true", "\"Alpha\":0.5", "\"FAlpha\":[{\"FId\":5,\"Alpha\":0}]", "\"HiddenEdges\":[0,11]",
        "\"EColor\":[{\"EId\":11,\"Color\":[0,0.5,1]}]", "\"Parts\":[{\"Kind\":\"Edge\",\"Index\":11}]"}) {
    EXPECT_EQ(about(good), "") << good;
  }
  for (const char* const bad :
       {"\"Hidden\":1", "\"Alpha\":1.5", "\"Alpha\":null", "\"CurveColor\":[0,0]", "\"CurveColor\":[0,0,-1]",
        "\"FAlpha\":[{\"FId\":-1,\"Alpha\":0}]", "\"FAlpha\":[{\"FId\":1}]", "\"HiddenFaces\":[0,0]",
        "\"HiddenFaces\":[0.5]", "\"Layers\":[1]", "\"Material\":\"steel\"",
        "\"Properties\":{\"Volume\":1e300}", "\"Parts\":[{\"Kind\":\"Hole\",\"Index\":1}]",
        "\"Parts\":[{\"Kind\":\"Face\"}]"}) {
    EXPECT_EQ(about(bad), "X003") << bad;
  }
  for (const char* const beyond :
       {"\"FAlpha\":[{\"FId\":6,\"Alpha\":0}]", "\"HiddenFaces\":[6]", "\"HiddenEdges\":[12]",
        "\"EColor\":[{\"EId\":12,\"Color\":[0,0,0]}]", "\"Parts\":[{\"Kind\":\"Face\",\"Index\":6}]"}) {
    EXPECT_EQ(about(beyond), "X008") << beyond;
  }
  EXPECT_EQ(about("\"Within\":[[\"1\"]]"), "X007");
}

TEST_F(ExtrasTest, TheExampleOfTheDocumentIsRead) {
  const std::string path = scratch_.GetPath() + "extras.gz";
  WriteGzip(path, MarkdownFile("docs/format.md").FindBlock("json extras.gz"));
  ExtrasReader reader;
  ASSERT_TRUE(reader.ReadFile(path, [](ExtrasReader::Fault, const std::string& text) {
    ADD_FAILURE() << text;
  })) << reader.GetError();
  EXPECT_EQ(
      ExtrasText::Of(reader.GetExtras()),
      "header Authors: \"Anna\"\nheader Format: \"STEP\"\nlayer \"bolts\": hidden\n"
      "item 3: layer \"bolts\"\nitem 3: area 600\nitem 3: edge 2 color 0 0 1\nitem 3 within 5: hidden\n");
}

}  // namespace
}  // namespace mirel

#include <Programs/mirel/Import/OcctMessages.h>

#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/XcafDocument.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#if defined(__linux__)
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace mirel {
namespace {

namespace fs = std::filesystem;

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// STEP files that say something that a save cannot take, or that is wrong.
class SourceLossesTest : public ::testing::Test, protected XcafDocument {
 protected:
  SourceLossesTest() : folder_(scratch_.GetPath() + "folder") {
    const TDF_Label top = Assembly("top");
    const TDF_Label left = Part("left", BRepPrimAPI_MakeBox(10, 20, 30).Shape());
    Place(top, left, "one");
    Place(top, left, "two", 50);
    Place(top, Part("right", BRepPrimAPI_MakeBox(1, 2, 3).Shape()), "three", 80);
    shapes_->UpdateAssemblies();
  }

  // With a prefix, each part goes into a file of its own.
  std::string Write(const char* name, const char* prefix = nullptr) {
    const OcctMessages quiet;
    std::string path = scratch_.GetPath() + name;
    STEPCAFControl_Writer writer;
    EXPECT_TRUE(writer.Transfer(document_, STEPControl_AsIs, prefix));
    EXPECT_EQ(writer.Write(path.c_str()), IFSelect_RetDone);
    return path;
  }
  // A file of one part, with a change.
  std::string WriteChanged(const std::string& from, const std::string& to) {
    const std::string path = Write("changed.step");
    std::string text = ReadFile(path);
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    WriteFile(path, text.replace(at, from.size(), to));
    return path;
  }
  // A file with these entities behind all others; "@" stands for the first product definition.
  std::string WriteWith(std::string entities) {
    const std::string path = Write("more.step");
    std::string text = ReadFile(path);
    const std::size_t product = text.rfind('#', text.find(" = PRODUCT_DEFINITION("));
    const std::string id = text.substr(product, text.find(' ', product) - product);
    for (std::size_t at = 0; (at = entities.find('@', at)) != std::string::npos;) {
      entities.replace(at, 1, id);
    }
    WriteFile(path, text.insert(text.rfind("ENDSEC;"), entities));
    return path;
  }
  int Save(const std::string& path, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"save", "--force", path, folder_});
    return Mirel(options, report_, &said_);
  }

  const TestFolder scratch_;
  const std::string folder_;
  std::string report_;
  std::string said_;
};

TEST_F(SourceLossesTest, PartsInOtherFilesAreLookedForBesideTheFile) {
  fs::create_directory(fs::u8path(scratch_.GetPath() + "parts"));
  const std::string path = Write("parts/main.step", "part_");
  for (const std::string& input : {path, path + ".gz"}) {
    if (input != path) {
      WriteGzip(input, ReadFile(path));
    }
    EXPECT_EQ(Save(input, {"--strict"}), 0) << report_;
    EXPECT_TRUE(Has(report_, "faces                          12           12\n")) << report_;
    const fs::path before = fs::current_path();
    fs::current_path(fs::u8path(scratch_.GetPath()));
    EXPECT_EQ(Save(input.substr(scratch_.GetPath().size()), {"--strict"}), 0) << report_;
    fs::current_path(before);
  }
}

TEST_F(SourceLossesTest, MissingFilesAreNamedAndTheirPartsLost) {
  const std::string path = Write("main.step", "part_");
  fs::remove(fs::u8path(scratch_.GetPath() + "part_left.stp"));
  EXPECT_EQ(Save(path), 0);
  EXPECT_TRUE(Has(report_, "placed shapes                   3            1  (differs)\n")) << report_;
  EXPECT_TRUE(Has(report_, "not saved:\n           1 part")) << report_;
  EXPECT_TRUE(Has(report_, " could not be read\n               part_left.stp: no such file\n")) << report_;
  EXPECT_FALSE(Has(report_, "could not be translated")) << report_;
  WriteFile(scratch_.GetPath() + "part_right.stp", "no STEP");
  EXPECT_EQ(Save(path, {"--strict", "--json"}), 4);
  EXPECT_TRUE(Has(report_, "\"missingParts\": 2,")) << report_;
  EXPECT_TRUE(Has(report_, "\"missingFiles\": 2,")) << report_;
  EXPECT_TRUE(Has(report_, "\"part_left.stp: no such file\",\n")) << report_;
  EXPECT_TRUE(Has(report_, "\"part_right.stp: not a STEP file that can be read\"\n")) << report_;
}

#if defined(__linux__)
TEST_F(SourceLossesTest, APipeInThePlaceOfAnotherFileIsNotWaitedFor) {
  const std::string path = Write("main.step", "part_");
  fs::remove(fs::u8path(scratch_.GetPath() + "part_left.stp"));
  ASSERT_EQ(mkfifo((scratch_.GetPath() + "part_left.stp").c_str(), 0600), 0);
  alarm(60);  // ends what hangs
  EXPECT_EQ(Save(path), 0);
  alarm(0);
  EXPECT_TRUE(Has(report_, "part_left.stp (not a regular file): no such file\n")) << report_;
}
#endif

TEST_F(SourceLossesTest, ErrorsInEntitiesAreListedByKind) {
  EXPECT_EQ(Save(WriteChanged("PRODUCT('left','left'", "PRODUCT('left',$"), {"--strict", "-v"}), 0)
      << report_;
  EXPECT_TRUE(Has(report_, "without a loss:\n           1 entit")) << report_;
  EXPECT_TRUE(Has(said_, "1 time PRODUCT: Parameter n0.2 (name) not a quoted String: #")) << said_;

  EXPECT_EQ(Save(WriteChanged("PRODUCT('left','left'", "PRODUCT('left',12"), {"--strict", "-q"}), 4);
  EXPECT_EQ(said_, "");
  EXPECT_EQ(Save(WriteChanged("CARTESIAN_POINT('',(0.,0.,0.))", "CARTESIAN_POINT('',(0.,0.,'x'))"), {"-v"}),
            0);
  EXPECT_TRUE(Has(report_, "not saved:\n           1 entit")) << report_;
  EXPECT_TRUE(Has(said_, "1 time CARTESIAN_POINT: Parameter n0.3 (coordinates) not a Real: #")) << said_;
}

// What OpenCASCADE puts into no document.
// OpenCASCADE follows references that lead nowhere.
TEST_F(SourceLossesTest, GapsCostTheFacesThatNeedWhatIsMissing) {
  const std::string sample = ReadFile(MIREL_SAMPLE);
  const auto saveWithout = [&](const std::string& text) {
    std::smatch found;
    EXPECT_TRUE(std::regex_search(sample, found, std::regex(text + "#[0-9]+")));
    const std::string path = scratch_.GetPath() + "gap.step";
    WriteFile(path, std::string(found.prefix()) + found.str().substr(0, found.str().rfind('#')) + "#999999" +
                        std::string(found.suffix()));
    EXPECT_EQ(Save(path, {"--strict"}), 4) << said_;
    EXPECT_TRUE(Has(report_, "distinct shapes                 7            7")) << report_;
    EXPECT_TRUE(Has(report_, "1 entity with errors")) << report_;
  };
  for (const char* const text :
       {"= LINE[(]'',", "= LINE[(]'',#[0-9]+,", "= VECTOR[(]'',", "= VERTEX_POINT[(]'',",
        "= FACE_BOUND[(]'',", "= ADVANCED_FACE[(]'',[(]", "BOUNDED_CURVE[^;#]*", "BOUNDED_SURFACE[^;#]*"}) {
    SCOPED_TRACE(text);
    saveWithout(text);
    EXPECT_TRUE(std::regex_search(report_, std::regex("faces? that refers? to what"))) << report_;
  }
  for (const char* const text : {"= SHAPE_DEFINITION_REPRESENTATION[(]", "= AXIS2_PLACEMENT_3D[(]'',",
                                 "= SURFACE_STYLE_USAGE[(][.A-Z]+,", "= FILL_AREA_STYLE[(]'',[(]"}) {
    SCOPED_TRACE(text);
    saveWithout(text);
    EXPECT_FALSE(Has(report_, "to what the file does not have")) << report_;
  }
}

TEST_F(SourceLossesTest, WhatNobodyReadsIsCounted) {
  const std::string path = WriteWith(R"(
#9001=PERSON('1','Muster','Anna',$,$,$);
#9002=ORGANIZATION('1','Werk','');
#9003=PERSON_AND_ORGANIZATION(#9001,#9002);
#9004=PERSON_AND_ORGANIZATION_ROLE('creator');
#9005=APPLIED_PERSON_AND_ORGANIZATION_ASSIGNMENT(#9003,#9004,(@));
#9011=CALENDAR_DATE(2024,29,2);
#9012=COORDINATED_UNIVERSAL_TIME_OFFSET(1,$,.AHEAD.);
#9013=LOCAL_TIME(12,30,$,#9012);
#9014=DATE_AND_TIME(#9011,#9013);
#9015=DATE_TIME_ROLE('creation_date');
#9016=APPLIED_DATE_AND_TIME_ASSIGNMENT(#9014,#9015,(@));
#9021=APPROVAL_STATUS('approved');
#9022=APPROVAL(#9021,'release');
#9023=APPLIED_APPROVAL_ASSIGNMENT(#9022,(@));
#9024=APPLIED_APPROVAL_ASSIGNMENT(#9022,(@));
#9031=CARTESIAN_POINT('',(1.,2.,3.));
#9032=CONSTRUCTIVE_GEOMETRY_REPRESENTATION('',(#9031),#9033);
#9033=(GEOMETRIC_REPRESENTATION_CONTEXT(3)REPRESENTATION_CONTEXT('',''));
#9041=PRESENTATION_LAYER_ASSIGNMENT('aux','',(#9031));
#9051=COLOUR_RGB('',1.,0.,0.);
#9052=POINT_STYLE('',.DOT.,POSITIVE_LENGTH_MEASURE(1.),#9051);
#9053=PRESENTATION_STYLE_ASSIGNMENT((#9052));
#9054=ANNOTATION_OCCURRENCE('',(#9053),#9031);
#9055=THING_OF_OURS('',#9031);
)");
  EXPECT_EQ(Save(path, {"--strict", "--json"}), 4);
  for (const char* const count :
       {R"("people": 1,)", R"("dates": 1,)", R"("approvals": 2,)", R"("annotations": 1,)",
        R"("supplementalGeometry": 1,)", R"("pointStyles": 1,)", R"("unreadLayers": 1,)",
        R"("unknownEntities": 1,)", R"("1 THING_OF_OURS")"}) {
    EXPECT_TRUE(Has(report_, count)) << count << "\n" << report_;
  }
}

}  // namespace
}  // namespace mirel

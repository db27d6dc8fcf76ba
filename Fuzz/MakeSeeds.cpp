// Writes the seeds of the fuzz targets: MirelMakeSeeds FOLDER, where FOLDER is Fuzz/ in the source tree. Small inputs that
// between them have every feature that the readers know; what else there is, the fuzzer finds out.

#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Gzip/GzSections.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <TopExp_Explorer.hxx>
#include <libdeflate.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>

using namespace mirel;

namespace {

/// The folder of a target's seeds, ending with a separator.
std::string SeedFolder(const std::string& folder, const char* target) {
  const std::filesystem::path path = std::filesystem::u8path(folder) / target / "seeds";
  std::filesystem::create_directories(path);
  return path.u8string() + "/";
}

std::string Gzip(const std::string& content, int level) {
  libdeflate_compressor* const compressor = libdeflate_alloc_compressor(level);
  std::string file(libdeflate_gzip_compress_bound(compressor, content.size()), '\0');
  file.resize(libdeflate_gzip_compress(compressor, content.data(), content.size(), file.data(), file.size()));
  libdeflate_free_compressor(compressor);
  return file;
}

/// Indexes by the names of their seeds: that of a model with everything in it, others by hand.
std::map<std::string, std::string> MakeIndexes() {
  LiteModel model;
  FillAssembly(model);
  const TestFolder folder;
  LiteModelWriter(model).Save(folder.GetPath());
  return {
      {"assembly", Inflate(folder.GetPath() + "index.gz")},
      {"empty", R"({"Types":[],"Items":[]})"},
      {"shared-types",
       R"({"Version":1,"Metadata":{"PkgShape":2,"PkgGRep":2},"Types":[)"
       R"({"Type":"Group","Id":"1","Children":[{"Type":"Instance","TId":"2"},{"Type":"Instance","TId":"2"}]},)"
       R"({"Type":"Group","Id":"2","Children":[{"Type":"Instance","TId":"3"},{"Type":"Instance","TId":"3"}]},)"
       R"({"Type":"Shape","Id":"3","SId":"7","Transform":[0,1,0,0,-1,0,0,0,0,0,1,0,5,6,7.5,1]}],)"
       R"("Items":[{"Type":"Instance","TId":"1","Color":[0.5,0.5,0.5]}]})"},
      {"faults",
       R"({"Types":[{"Type":"Group","Id":"1","Children":[{"Type":"Instance","TId":"1"}]}],"Items":[)"
       R"({"Type":"Instance","TId":"1"},{"Type":"Instance","TId":"9"},{"Type":"Shape","Id":5,"SId":null},)"
       R"({"Type":"Cone"},{"Type":"Group"},7,{"Type":"Shape","FColor":[{"FId":-1,"Color":[1]},{"FId":2}]}]})"},
      {"type-used-once",
       R"({"Types":[{"Type":"Shape","Id":"3","SId":"7","Transform":[0,1,0,0,-1,0,0,0,0,0,1,0,5,6,7.5,1]}],)"
       R"("Items":[{"Type":"Instance","TId":"3","Transform":[2,0,0,0,0,2,0,0,0,0,2,0,1,0,0,1]}]})"},
      {"white-space",
       R"( { "Items" : [ { "Type" : "Shape" , "Name" : "a\u0000b\u4f8b" , "Color" : [ 1e-3, 2E2, -0.0 ] } ] ,)"
       R"( "Types" : [ { "Type" : "Shape", "Id" : "18446744073709551615" } ], "Other" : { "x" : [ ] } } )"}};
}

void MakeIndexSeeds(const std::string& folder) {
  for (const auto& [name, index] : MakeIndexes())
    WriteFile(folder + name, index);
}

/// A piece of a stream: kind (0 index, 1 bodies, 2 GReps, 3 neither), size and bytes.
std::string MakePiece(char kind, const std::string& bytes) {
  std::string piece(1, kind);
  for (int i = 0; i < 4; ++i)
    piece += static_cast<char>(bytes.size() >> (8 * i));
  return piece + bytes;
}

void MakeStreamSeeds(const std::string& folder) {
  const auto box = MakeBox(1.0, 2.0, 3.0);
  const auto plane = MakePlane();
  const std::string bodies =
      MakePiece(1, MakePackage({{7, ToText(box)}, {10, ToText(box)}, {11, ToText(plane)}}));
  const std::string greps =
      MakePiece(2, MakePackage({{7, ToRecord(MakeGRep(box))}, {10, ToRecord(MakeGRep(box))}}));
  std::map<std::string, std::string> indexes = MakeIndexes();
  WriteFile(folder + "assembly", MakePiece(0, indexes["assembly"]) + greps + bodies);
  WriteFile(folder + "index-last", bodies + greps + MakePiece(0, indexes["shared-types"]));
  WriteFile(folder + "two-indexes",
            MakePiece(0, indexes["faults"]) + greps + MakePiece(0, indexes["shared-types"]));
  WriteFile(folder + "no-bodies", MakePiece(3, "") + MakePiece(0, indexes["shared-types"]) + greps);
  WriteFile(folder + "infinite-box", MakePiece(2, MakePackage({{7, ToRecord(MakeGRep(plane))}})) +
                                         MakePiece(0, indexes["shared-types"]));
}

/// Shapes of one body each, beside each other.
std::string MakeRow(std::size_t count) {
  std::string items;
  for (std::size_t i = 0; i < count; ++i)
    items +=
        (i > 0 ? "," : "") + (R"({"Type":"Shape","SId":")" + std::to_string(i + 1)) +
        R"(","Color":[0.8,0.4,0.1],"FColor":[{"FId":0,"Color":[0.1,0.4,0.8]}],"Transform":[1,0,0,0,0,1,0,0,0,0,1,0,)" +
        std::to_string(3 * i) + ",0,0,1]}";
  return R"({"Types":[],"Items":[)" + items + "]}";
}

void MakeDrawSeeds(const std::string& folder) {
  std::set<std::string> drawn = {"wire",
                                 "face",
                                 "box",
                                 "cylinder",
                                 "torus",
                                 "sewn open shell",
                                 "wedge",
                                 "sphere",
                                 "vertex",
                                 "far away",
                                 "face of triangles only"};
  std::vector<std::pair<unsigned long long, std::string>> greps;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    if (drawn.erase(sample.name) > 0)
      greps.emplace_back(greps.size() + 1, ToRecord(MakeGRep(std::make_shared<TopoShape>(sample.shape))));
  }
  WriteFile(folder + "all", MakePiece(0, MakeRow(greps.size())) + MakePiece(2, MakePackage(greps)));
  for (std::size_t i = 0; i < greps.size(); ++i)
    WriteFile(folder + "body-" + std::to_string(i + 1),
              MakePiece(0, MakeRow(1)) + MakePiece(2, MakePackage({{1, greps[i].second}})));
  const std::string box = ToRecord(MakeGRep(MakeBox(1.0, 2.0, 3.0)));
  std::map<std::string, std::string> indexes = MakeIndexes();
  WriteFile(folder + "assembly",
            MakePiece(0, indexes["assembly"]) + MakePiece(2, MakePackage({{10, box}, {11, box}})));
  WriteFile(folder + "shared-types",
            MakePiece(0, indexes["shared-types"]) + MakePiece(2, MakePackage({{7, box}})));
}

void MakeGzipSeeds(const std::string& folder) {
  std::string mixed;
  for (int i = 0; i < 600; ++i)
    mixed += std::to_string(i * i) + (i % 3 == 0 ? "\n" : " ");
  const std::string text = Gzip("{\"Types\":[],\"Items\":[]}", 6);
  WriteFile(folder + "empty", Gzip("", 6));
  WriteFile(folder + "text", text);
  WriteFile(folder + "stored", Gzip(mixed.substr(0, 100), 0));
  WriteFile(folder + "dynamic-codes", Gzip(mixed, 9));
  WriteFile(folder + "three-members", text + Gzip("", 1) + text);
  WriteFile(folder + "zeros", Gzip(std::string(100000, '\0'), 9));
  WriteFile(folder + "sections", CompressGzip(mixed, mixed.size() / 3));
  // Extra field, name, comment and header checksum.
  std::string header("\x1f\x8b\x08\x1e\0\0\0\0\0\xff\x04\0abcdname\0comment\0\x1dn", 31);
  WriteFile(folder + "all-header-fields", header + text.substr(10));
}

/// Larger bodies would only slow the fuzzer down: they have nothing that the small ones do not have.
constexpr std::size_t kMaxBodyText = 4000;

void MakeBodySeeds(const std::string& textFolder, const std::string& meshFolder) {
  std::map<std::string, int> names;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    const std::string text = test::WriteBRepText(sample.shape);
    std::string name = sample.name;
    std::replace(name.begin(), name.end(), ' ', '-');
    if (const int count = ++names[name]; count > 1) name += "-" + std::to_string(count);
    if (text.size() > kMaxBodyText) continue;
    WriteFile(textFolder + name, text);
    // Triangles are read, and left behind when the body is meshed.
    const bool isMeshed = name.rfind("meshed", 0) == 0;
    if (!isMeshed && TopExp_Explorer(sample.shape, TopAbs_FACE).More()) WriteFile(meshFolder + name, text);
  }
}

void MakePackageSeeds(const std::string& shapeFolder, const std::string& grepFolder) {
  // Bodies with little text and few triangles.
  const std::set<std::string> small = {
      "vertex",           "empty compound",         "polygon",        "wire",  "face",    "box", "cylinder",
      "edge on a circle", "face of triangles only", "unbounded face", "wedge", "far away"};
  std::vector<std::pair<unsigned long long, std::string>> bodies;
  std::vector<std::pair<unsigned long long, std::string>> greps;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    if (small.count(sample.name) == 0) continue;
    const auto shape = std::make_shared<TopoShape>(sample.shape);
    bodies.emplace_back(bodies.size() + 1, ToText(shape));
    greps.emplace_back(greps.size() + 1, ToRecord(MakeGRep(shape)));
    std::string name = sample.name + "-" + std::to_string(bodies.size());
    std::replace(name.begin(), name.end(), ' ', '-');
    WriteFile(shapeFolder + name, MakePackage({bodies.back()}));
    WriteFile(grepFolder + name, MakePackage({greps.back()}));
  }
  const auto fine = GRepShape::Create(MakeBox(1000.0, 2000.0, 3000.0), nullptr, nullptr, 1e-4, true);
  fine->Compute();
  WriteFile(grepFolder + "fine-grid", MakePackage({{1, ToRecord(fine)}}));
  WriteFile(grepFolder + "all", MakePackage(greps));
  WriteFile(shapeFolder + "all", MakePackage(bodies));
  WriteFile(shapeFolder + "none", MakePackage({}));
  bodies.emplace_back(1, "no body");
  bodies.emplace_back(2, "");
  WriteFile(shapeFolder + "same-ids", MakePackage(bodies));
}

void MakeStepSeeds(const std::string& folder) {
  const std::string begin = "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION(('a'),'2;1');\nENDSEC;\nDATA;\n";
  const std::string end = "ENDSEC;\nEND-ISO-10303-21;\n";
  WriteFile(folder + "tokens",
            begin + "#1=A(1,-2,3.,+4.5E-6,'it''s','\\X2\\5DE5\\X0\\',\"0F\",.T.,$,*,#2);\n" + end);
  WriteFile(folder + "lists", begin + "#1=A((),((1,2),(3.)),LENGTH(1.),X(Y('z',($))));\n" + end);
  WriteFile(folder + "complex", begin + "#1=(A(1)B()C(*));\r\n#2 = (\nD(#1)!E('x' ) );\n" + end);
  WriteFile(folder + "comments",
            "/**/" + begin + "/* ;\n#2=B(); */#1=/***/A(/*'*/1/*,*/,2);/* a */" + end + "more");
  std::string entities;
  for (int i = 1; i <= 30; ++i)
    entities += "#" + std::to_string(i) + "=CARTESIAN_POINT('',(0.,1.,2.));\n";
  WriteFile(folder + "sections", begin + entities + end);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: MirelMakeSeeds FOLDER\n");
    return 1;
  }
  const std::string folder = argv[1];
  MakeIndexSeeds(SeedFolder(folder, "IndexFuzz"));
  MakeStreamSeeds(SeedFolder(folder, "StreamFuzz"));
  MakeDrawSeeds(SeedFolder(folder, "DrawFuzz"));
  MakeBodySeeds(SeedFolder(folder, "BodyTextFuzz"), SeedFolder(folder, "BodyMeshFuzz"));
  MakePackageSeeds(SeedFolder(folder, "ShapePackageFuzz"), SeedFolder(folder, "GRepPackageFuzz"));
  MakeStepSeeds(SeedFolder(folder, "StepTextFuzz"));
  MakeGzipSeeds(SeedFolder(folder, "GzipFuzz"));
  return 0;
}

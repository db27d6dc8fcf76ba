// Writes the seeds of the fuzz targets: MirelMakeSeeds FOLDER, where FOLDER is Fuzz/ in the source tree. Small inputs that
// between them have every feature that the readers know; what else there is, the fuzzer finds out.

#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <libdeflate.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
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
  // Extra field, name, comment and header checksum.
  std::string header("\x1f\x8b\x08\x1e\0\0\0\0\0\xff\x04\0abcdname\0comment\0\x1dn", 31);
  WriteFile(folder + "all-header-fields", header + text.substr(10));
}

/// Larger bodies would only slow the fuzzer down: they have nothing that the small ones do not have.
constexpr std::size_t kMaxBodyText = 4000;

void MakeBodyTextSeeds(const std::string& folder) {
  std::map<std::string, int> names;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    const std::string text = test::WriteBRepText(sample.shape);
    std::string name = sample.name;
    std::replace(name.begin(), name.end(), ' ', '-');
    if (const int count = ++names[name]; count > 1) name += "-" + std::to_string(count);
    if (text.size() <= kMaxBodyText) WriteFile(folder + name, text);
  }
}

/// Bodies with little text and few triangles.
std::vector<test::BodySample> FindSamples(const std::vector<std::string>& names) {
  std::vector<test::BodySample> found;
  for (const test::BodySample& sample : test::MakeBodySamples()) {
    if (std::find(names.begin(), names.end(), sample.name) != names.end()) found.push_back(sample);
  }
  return found;
}

void MakePackageSeeds(const std::string& shapeFolder, const std::string& grepFolder) {
  std::vector<std::pair<unsigned long long, std::string>> bodies;
  std::vector<std::pair<unsigned long long, std::string>> greps;
  for (const test::BodySample& sample :
       FindSamples({"vertex", "empty compound", "polygon", "wire", "face", "box", "cylinder",
                    "edge on a circle", "face of triangles only", "unbounded face", "wedge", "far away"})) {
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: MirelMakeSeeds FOLDER\n");
    return 1;
  }
  const std::string folder = argv[1];
  MakeBodyTextSeeds(SeedFolder(folder, "BodyTextFuzz"));
  MakePackageSeeds(SeedFolder(folder, "ShapePackageFuzz"), SeedFolder(folder, "GRepPackageFuzz"));
  MakeGzipSeeds(SeedFolder(folder, "GzipFuzz"));
  return 0;
}

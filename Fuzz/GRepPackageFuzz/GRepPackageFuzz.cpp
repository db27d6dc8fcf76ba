// Packages of graphics representations. Whatever loads can be drawn: positions are finite, indices inside their arrays,
// and each face keeps to its own vertices.

#include <Fuzz/Support/PackageCheck.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Writer/PkgGRepWriter.h>

#include <cmath>
#include <cstring>
#include <sstream>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

bool IsFinite(const glm::dvec3& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

void CheckMesh(const GRepMesh& mesh) {
  const std::size_t vertexCount = mesh.GetVertexCount();
  MIREL_FUZZ_CHECK(mesh.vertices.empty() || mesh.fineVertices.empty(), "Both arrays of vertices are used");
  MIREL_FUZZ_CHECK(vertexCount == 0 || mesh.box.IsFinite(), "Vertices without a finite box");
  for (std::size_t i = 0; i < vertexCount; ++i) {
    MIREL_FUZZ_CHECK(IsFinite(mesh.GetPosition(i)), "A position is not finite");
    MIREL_FUZZ_CHECK(std::fabs(glm::length(mesh.GetNormal(i)) - 1.0F) < 1e-5F, "A normal has not length 1");
  }
  std::size_t index = 0;
  std::size_t vertex = 0;
  for (const GRepFace& face : mesh.faces) {
    MIREL_FUZZ_CHECK(face.firstIndex == index && face.firstVertex == vertex, "A gap between two faces");
    index += face.indexCount;
    vertex += face.vertexCount;
    MIREL_FUZZ_CHECK(index <= mesh.triangles.size() && index % 3 == 0 && vertex <= vertexCount,
                     "A face has more than there is");
    for (std::size_t i = face.firstIndex; i < index; ++i)
      MIREL_FUZZ_CHECK(mesh.triangles[i] >= face.firstVertex && mesh.triangles[i] < vertex,
                       "A triangle leaves its face");
  }
  MIREL_FUZZ_CHECK(index == mesh.triangles.size(), "Triangles of no face");
  std::size_t point = 0;
  for (const GRepEdge& edge : mesh.edges) {
    MIREL_FUZZ_CHECK(edge.firstIndex == point && edge.indexCount != 1, "A gap between two edges");
    point += edge.indexCount;
  }
  MIREL_FUZZ_CHECK(point == mesh.polylines.size(), "Edges do not use all points");
  for (const std::uint32_t corner : mesh.polylines)
    MIREL_FUZZ_CHECK(corner < vertexCount, "A polyline leaves the vertices");
  for (const GRepSurface& surface : mesh.surfaces)
    MIREL_FUZZ_CHECK(IsFinite(surface.origin) && IsFinite(surface.axis) && std::isfinite(surface.radius) &&
                         std::isfinite(surface.second),
                     "A surface is not finite");
  for (const GRepEdgeSides& sides : mesh.sides)
    for (const std::uint32_t face : {sides.first, sides.second})
      MIREL_FUZZ_CHECK(face < mesh.faces.size() || face == GRepEdgeSides::kNoFace,
                       "An edge has no such face");
}

/// A record that loads does so with its last byte: without it, and with a header that says so, it does not.
void CheckSize(std::string record) {
  const auto loads = [&record] {
    const QuietLog log;
    std::istringstream stream(record);
    return GRepShape::FromStream(stream) != nullptr;
  };
  constexpr std::size_t kSizeAt = 8;
  constexpr std::size_t kHeaderSize = 132;
  if (record.size() <= kHeaderSize || !loads()) return;
  std::uint32_t size = 0;
  std::memcpy(&size, &record[kSizeAt], sizeof size);
  if (size == 0) return;
  --size;
  std::memcpy(&record[kSizeAt], &size, sizeof size);
  record.resize(kHeaderSize + size);
  MIREL_FUZZ_CHECK(!loads(), "A record loads without its last byte");
}

struct GRepPolicy {
  using Reader = PkgGRepReader;
  using Writer = PkgGRepWriter;
  using Item = GRepShape;
  static const LiteModel::GRepTable& GetTable(const LiteModel& model) { return model.GetGRepShapes(); }
  static bool CheckItem(const GRepShape& grep) {
    CheckMesh(grep.GetMesh());
    return true;
  }
  static std::string GetBytes(const GRepShape& grep) {
    std::ostringstream stream;
    MIREL_FUZZ_CHECK(grep.ToStream(stream), "What was read cannot be written");
    return stream.str();
  }
  static bool IsSame(const std::string& a, const std::string& b) { return a == b; }
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string package(reinterpret_cast<const char*>(data), size);
  return ReturnInput(MutatePackage(package, random, maxSize, MutateGRepRecord), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const PackageItem& item : ParsePackage(std::string(reinterpret_cast<const char*>(data), size)))
    CheckSize(item.bytes);
  CheckPackage<GRepPolicy>(reinterpret_cast<const char*>(data), size);
  return 0;
}

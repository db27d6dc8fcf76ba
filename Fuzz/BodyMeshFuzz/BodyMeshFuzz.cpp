// BRep text that passes the check, and what is done with the body then: walk over it, measure it, draw it. In a child
// process, with little memory and time, because OpenCASCADE is known to take what it gets: the child may draw nothing or
// give the body up, but neither crash nor go on for ever. What it draws is a record that can be read, and lies inside its
// faces on their surfaces with the normals that these have there.

#include <Fuzz/Support/BodyGrammar.h>
#include <Fuzz/Support/FuzzCheck.h>
#include <Programs/mirel/Check/FaceProbe.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepBndLib.hxx>
#include <Bnd_Box.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

// With this patience a body of a few faces may take four seconds in all; only what nobody watches takes longer.
constexpr double kPatience = 0.3;
constexpr rlim_t kSeconds = 8;  // of the processor: other programs do not count
constexpr std::size_t kMegabytes = 1536;
// One or two points inside a face say little: a border that crosses itself looks like that.
constexpr std::size_t kMinInside = 3;

// Memory beyond what the process has, or has set aside as the address sanitizer does.
void LimitCosts() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t bytes = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + (kMegabytes << 20);
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
  const rlimit seconds = {kSeconds, kSeconds + 1};
  setrlimit(RLIMIT_CPU, &seconds);
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

void Use(const TopoShape& body) {
  std::size_t shapes = 0;
  for (TopExp_Explorer explorer(body.GetImpl(), TopAbs_VERTEX); explorer.More(); explorer.Next())
    ++shapes;
  try {
    Bnd_Box box;
    BRepBndLib::Add(body.GetImpl(), box, false);
  } catch (const Standard_Failure&) {
  }
}

using Place = std::array<double, 3>;

Place PlaceOf(const GRepMesh& mesh, std::uint32_t vertex) {
  const glm::dvec3 position = mesh.GetPosition(vertex);
  return {position.x, position.y, position.z};
}

// The corners of a face's triangles that are neither on its border nor at the place of an edge: curves of edges may be off
// the surface.
std::set<std::uint32_t> FindInside(const GRepMesh& mesh, const GRepFace& face, const std::set<Place>& edges) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> sides;
  std::set<std::uint32_t> inside;
  for (std::uint32_t i = face.firstIndex; i < face.firstIndex + face.indexCount; ++i) {
    const std::uint32_t next = i % 3 == 2 ? i - 2 : i + 1;
    ++sides[std::minmax(mesh.triangles[i], mesh.triangles[next])];
    if (edges.count(PlaceOf(mesh, mesh.triangles[i])) == 0) inside.insert(mesh.triangles[i]);
  }
  for (const auto& [ends, count] : sides)
    if (count == 1)
      for (const std::uint32_t end : {ends.first, ends.second})
        inside.erase(end);
  return inside;
}

void CompareWithSurface(const TopoDS_Face& face, const GRepMesh& mesh, const GRepFace& range,
                        const std::set<Place>& edges) {
  FaceProbe probe(face);
  if (!probe.IsElementary()) return;
  const std::set<std::uint32_t> inside = FindInside(mesh, range, edges);
  if (inside.size() < kMinInside) return;
  const double reach = mesh.linearDeflection;
  std::size_t off = 0;
  for (const std::uint32_t vertex : inside) {
    const glm::dvec3 position = mesh.GetPosition(vertex);
    const glm::dvec3 normal(mesh.GetNormal(vertex));
    const double distance = probe.Measure({position.x, position.y, position.z}, reach);
    if (distance > reach || probe.MeasureTurn({normal.x, normal.y, normal.z}, reach) > 0.0) ++off;
  }
  MIREL_FUZZ_CHECK(2 * off <= inside.size(), "What is drawn of a face is not where its surface is");
}

// Most points inside each face that has some, on a surface with a formula for it are on that surface, and stand on it as they should.
void CompareWithSurfaces(const TopoDS_Shape& body, const GRepMesh& mesh) {
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(body, TopAbs_FACE, faces);
  if (mesh.faces.empty()) return;  // OpenCASCADE could not even copy the body
  MIREL_FUZZ_CHECK(mesh.faces.size() == static_cast<std::size_t>(faces.Extent()), "A face is missing");
  std::set<Place> edges;
  for (const std::uint32_t vertex : mesh.polylines)
    edges.insert(PlaceOf(mesh, vertex));
  for (int i = 1; i <= faces.Extent(); ++i) {
    try {
      CompareWithSurface(TopoDS::Face(faces(i)), mesh, mesh.faces[static_cast<std::size_t>(i - 1)], edges);
    } catch (const Standard_Failure&) {  // a surface that has no points at all
    }
  }
}

void Draw(const std::shared_ptr<TopoShape>& body) {
  const auto grep = GRepShape::Create(body, nullptr, nullptr, 0.0, true);
  GRepShape::SetPatience(kPatience);
  grep->Compute();
  std::ostringstream record;
  MIREL_FUZZ_CHECK(grep->ToStream(record), "What was drawn cannot be written");
  std::istringstream stream(record.str());
  const auto drawn = GRepShape::FromStream(stream);
  MIREL_FUZZ_CHECK(drawn, "What was drawn cannot be read");
  CompareWithSurfaces(body->GetImpl(), drawn->GetMesh());
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string text(reinterpret_cast<const char*>(data), size);
  return ReturnInput(MutateBodyGrammar(text, random, maxSize), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog log;
  const std::shared_ptr<TopoShape> body =
      TopoShape::Read(std::string(reinterpret_cast<const char*>(data), size));
  if (!body || body->GetImpl().IsNull()) return 0;
  const pid_t child = fork();
  MIREL_FUZZ_CHECK(child >= 0, "No child process");
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    LimitCosts();
    signal(SIGXCPU, SIG_DFL);
    Use(*body);
    Draw(body);
    _exit(0);
  }
  int status = 0;
  rusage before = {};
  rusage used = {};
  getrusage(RUSAGE_SELF, &before);
  while (wait4(child, &status, 0, &used) < 0)
    MIREL_FUZZ_CHECK(errno == EINTR, "The child is lost");  // the fuzzer's own clock
  MIREL_FUZZ_CHECK(!WIFSIGNALED(status) || WTERMSIG(status) != SIGXCPU, "A body keeps the mesher for ever");
  MIREL_FUZZ_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0, "A body crashes the mesher");
  // The limit holds for large blocks only: for small ones the address sanitizer has set everything aside.
  MIREL_FUZZ_CHECK(used.ru_maxrss < before.ru_maxrss + static_cast<long>(kMegabytes << 10),
                   "A body takes too much memory");
  return 0;
}

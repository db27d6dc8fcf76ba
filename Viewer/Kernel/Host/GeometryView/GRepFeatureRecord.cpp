#include <Viewer/Kernel/Host/GeometryView/GRepFeatureRecord.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>
#include <Viewer/Kernel/Host/GeometryView/RecordBytes.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <vector>

// Bodies repeat themselves: one radius, one height, and nearly all axes are those of the coordinates. So the numbers
// stand in a table, each once, and a surface refers to them.

namespace mirel {
namespace {

// Code of a surface: its kind in three bits, whether it is hollow, and its axis: 0 to 5 for +x, -x, +y, -y, +z, -z, or
// three numbers of the table.
constexpr std::uint32_t kHollowBit = 1u << 3;
constexpr int kAxisShift = 4;
constexpr std::uint32_t kFreeAxis = 6;
constexpr double kUnitNoise = 1e-6;

std::uint32_t AxisCode(const glm::dvec3& axis) {
  for (std::uint32_t i = 0; i < 3; ++i)
    if (std::abs(axis[static_cast<int>(i)]) == 1.0) return 2 * i + (axis[static_cast<int>(i)] < 0.0 ? 1 : 0);
  return kFreeAxis;
}

class NumberTable {
 public:
  std::uint32_t Find(double number) {
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    const auto [entry, isNew] = places_.emplace(bits, static_cast<std::uint32_t>(numbers_.size()));
    if (isNew) numbers_.push_back(number);
    return entry->second;
  }
  const std::vector<double>& Numbers() const { return numbers_; }

 private:
  std::unordered_map<std::uint64_t, std::uint32_t> places_;
  std::vector<double> numbers_;
};

// What a surface of each kind is made of, in the order of the record: `visit` gets a reference to each number.
template <typename Surface, typename Visit>
void VisitNumbers(Surface& surface, bool isAxisFree, Visit&& visit) {
  const auto visitAll = [&](auto& vector) {
    for (int i = 0; i < 3; ++i)
      visit(vector[i]);
  };
  const GRepSurfaceKind kind = surface.kind;
  if (kind == GRepSurfaceKind::kOther) return;
  if (isAxisFree) visitAll(surface.axis);
  if (kind != GRepSurfaceKind::kPlane) visitAll(surface.origin);
  if (kind != GRepSurfaceKind::kPlane && kind != GRepSurfaceKind::kCone) visit(surface.radius);
  if (kind != GRepSurfaceKind::kCylinder && kind != GRepSurfaceKind::kSphere) visit(surface.second);
}

bool HasAxis(GRepSurfaceKind kind) {
  return kind != GRepSurfaceKind::kOther && kind != GRepSurfaceKind::kSphere;
}

}  // namespace

void WriteFeatures(const GRepMesh& mesh, ByteWriter& out) {
  NumberTable table;
  ByteWriter surfaces;
  for (const GRepSurface& surface : mesh.surfaces) {
    const std::uint32_t axis = HasAxis(surface.kind) ? AxisCode(surface.axis) : 0;
    surfaces.Number(static_cast<std::uint32_t>(surface.kind) | (surface.isHollow ? kHollowBit : 0) |
                    axis << kAxisShift);
    VisitNumbers(surface, axis == kFreeAxis, [&](double number) { surfaces.Number(table.Find(number)); });
  }
  out.Number(static_cast<std::uint32_t>(table.Numbers().size()));
  for (const double number : table.Numbers())
    out.Real(number);
  out.Append(surfaces);

  std::uint32_t last = 0;
  for (const GRepEdgeSides& sides : mesh.sides) {
    out.Number(static_cast<std::uint32_t>(sides.kind));
    for (const std::uint32_t face : {sides.first, sides.second}) {
      if (face == GRepEdgeSides::kNoFace) continue;
      out.Number(ZigZag(face - last));
      last = face;
    }
  }
}

const char* ReadFeatures(ByteReader& in, GRepMesh& mesh) {
  const std::uint32_t numberCount = in.Number();
  if (numberCount > in.Remaining() / sizeof(double)) return "its table of numbers is cut short";
  std::vector<double> numbers(numberCount);
  for (double& number : numbers) {
    number = in.Real();
    if (!(std::abs(number) <= kMaxMeshCoordinate)) return "a number of its surfaces is none";
  }
  bool isInside = true;
  const auto next = [&] {
    const std::uint32_t place = in.Number();
    isInside = isInside && place < numbers.size();
    return place < numbers.size() ? numbers[place] : 0.0;
  };
  mesh.surfaces.assign(mesh.faces.size(), GRepSurface());
  for (GRepSurface& surface : mesh.surfaces) {
    const std::uint32_t code = in.Number(), kind = code & 7u, axis = code >> kAxisShift;
    if (kind > static_cast<std::uint32_t>(GRepSurfaceKind::kTorus) || axis > kFreeAxis)
      return "a surface is of an unknown kind";
    surface.kind = static_cast<GRepSurfaceKind>(kind);
    surface.isHollow = (code & kHollowBit) != 0;
    const bool isAxisFree = HasAxis(surface.kind) && axis == kFreeAxis;
    if (HasAxis(surface.kind) && !isAxisFree)
      surface.axis[static_cast<int>(axis / 2)] = axis % 2 == 0 ? 1.0 : -1.0;
    VisitNumbers(surface, isAxisFree, [&](double& number) { number = next(); });

    if (!isInside) return "a surface uses a number that is not there";
    if (isAxisFree && !(std::abs(glm::length(surface.axis) - 1.0) < kUnitNoise))
      return "the axis of a surface does not have length 1";
    if (surface.kind == GRepSurfaceKind::kPlane)
      surface.origin = surface.second * surface.axis + 0.0;
    else if (surface.radius < 0.0 || surface.second < 0.0)
      return "a radius is negative";
  }

  mesh.sides.assign(mesh.edges.size(), GRepEdgeSides());
  std::uint32_t last = 0;
  const auto nextFace = [&] { return last += UnZigZag(in.Number()); };
  for (GRepEdgeSides& sides : mesh.sides) {
    const std::uint32_t kind = in.Number();
    if (kind > static_cast<std::uint32_t>(GRepEdgeKind::kSharp)) return "an edge is of an unknown kind";
    sides.kind = static_cast<GRepEdgeKind>(kind);
    if (sides.kind == GRepEdgeKind::kLoose) continue;
    sides.first = nextFace();
    if (sides.kind >= GRepEdgeKind::kSmooth) sides.second = nextFace();
    if (std::max(sides.first, sides.kind >= GRepEdgeKind::kSmooth ? sides.second : 0) >= mesh.faces.size())
      return "an edge has a face that is not there";
  }
  return nullptr;
}

}  // namespace mirel

#include <Viewer/Kernel/Host/GeometryView/GRepWalk.h>

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace mirel {
namespace {

// The side of a triangle behind which the walk may go on: the neighbour has it from `from` to `to`.
struct Gate {
  std::uint32_t from, to;
};

// What a step says: there is nothing new behind the gate, or the third corner of the triangle there is a neighbour in number
// of one of the others, or it is the next far corner.
constexpr std::uint32_t kNothing = 0;
constexpr std::uint32_t kFar = 5;

std::array<std::uint32_t, 4> Near(const Gate& gate) {
  return {gate.to + 1, gate.from - 1, gate.from + 1, gate.to - 1};
}

// The gate that was pushed last comes first. The walk begins behind the first side of the triangle that it starts with.
void Start(std::vector<Gate>& gates, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  gates.insert(gates.end(), {{a, c}, {c, b}, {b, a}});
}

Gate Pop(std::vector<Gate>& gates) {
  const Gate gate = gates.back();
  gates.pop_back();
  return gate;
}

void Pass(std::vector<Gate>& gates, const Gate& gate, std::uint32_t corner) {
  gates.insert(gates.end(), {{gate.from, corner}, {corner, gate.to}});
}

// Finds triangles of a face by their directed sides.
class SideTable {
 public:
  SideTable(const std::uint32_t* corners, std::size_t count) : corners_(corners), isTaken_(count / 3) {
    for (std::size_t i = 0; i < count; ++i)
      sides_.emplace_back(KeyOf(corners[i], corners[After(i)]), static_cast<std::uint32_t>(i));
    std::sort(sides_.begin(), sides_.end());
  }

  // The first triangle that was not taken yet, which there must be.
  std::size_t TakeFirst() {
    while (isTaken_[first_])
      ++first_;
    isTaken_[first_] = true;
    return first_;
  }

  // Takes a triangle with a side, and gives its third corner; false when there is none left.
  bool Take(const Gate& gate, std::uint32_t& corner) {
    const std::uint64_t key = KeyOf(gate.from, gate.to);
    for (auto side = std::lower_bound(sides_.begin(), sides_.end(), std::pair(key, std::uint32_t{0}));
         side != sides_.end() && side->first == key; ++side) {
      if (isTaken_[side->second / 3]) continue;
      isTaken_[side->second / 3] = true;
      corner = corners_[After(After(side->second))];
      return true;
    }
    return false;
  }

 private:
  static std::uint64_t KeyOf(std::uint32_t from, std::uint32_t to) { return std::uint64_t{from} << 32 | to; }
  static std::size_t After(std::size_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }

  const std::uint32_t* corners_;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> sides_;  // and the corner that each begins with
  std::vector<bool> isTaken_;
  std::size_t first_ = 0;
};

// What the steps of all faces read from.
struct WalkReader {
  ByteReader& steps;
  const std::vector<std::uint32_t>& farCorners;
  std::size_t farsRead = 0;

  bool Far(std::uint32_t& last) {
    if (farsRead == farCorners.size()) return false;
    last += farCorners[farsRead++];
    return true;
  }
};

const char* ReadWalk(WalkReader& in, const GRepFace& face, std::uint32_t* corners, std::vector<Gate>& gates) {
  constexpr const char* kNoFar = "its walks need more far corners than it has";
  std::uint32_t last = 0;
  gates.clear();
  for (const std::uint32_t* const end = corners + face.indexCount; corners != end;) {
    std::array<std::uint32_t, 3> triangle;
    if (gates.empty()) {
      for (std::uint32_t& corner : triangle) {
        if (!in.Far(last)) return kNoFar;
        corner = last;
      }
      Start(gates, triangle[0], triangle[1], triangle[2]);
    } else {
      const Gate gate = Pop(gates);
      const std::uint32_t step = in.steps.Number();
      if (in.steps.Failed()) return "its walks are cut short";
      if (step > kFar) return "a walk has a step that is unknown";
      if (step == kNothing) continue;
      if (step == kFar && !in.Far(last)) return kNoFar;
      triangle = {gate.from, gate.to, step == kFar ? last : Near(gate)[step - 1]};
      Pass(gates, gate, triangle[2]);
    }
    if (triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0])
      return "a triangle has two equal corners";
    for (const std::uint32_t corner : triangle) {
      if (corner >= face.vertexCount) return "a triangle uses a vertex that its face does not have";
      *corners++ = face.firstVertex + corner;
    }
  }
  return nullptr;
}

}  // namespace

bool WalkWriter::Face(const std::uint32_t* corners, std::size_t count, std::uint32_t firstVertex) {
  for (std::size_t i = 0; i < count; i += 3)
    if (corners[i] == corners[i + 1] || corners[i + 1] == corners[i + 2] || corners[i + 2] == corners[i])
      return false;
  SideTable table(corners, count);
  std::vector<Gate> gates;
  std::uint32_t last = firstVertex;
  for (std::size_t left = count / 3; left > 0;) {
    if (gates.empty()) {
      const std::uint32_t* const triangle = corners + 3 * table.TakeFirst();
      for (std::size_t i = 0; i < 3; ++i)
        AddFar(triangle[i], last);
      Start(gates, triangle[0], triangle[1], triangle[2]);
      --left;
      continue;
    }
    const Gate gate = Pop(gates);
    std::uint32_t corner;
    if (!table.Take(gate, corner)) {
      steps_.Number(kNothing);
      continue;
    }
    const std::array<std::uint32_t, 4> near = Near(gate);
    const auto step =
        static_cast<std::uint32_t>(std::find(near.begin(), near.end(), corner) - near.begin()) + 1;
    steps_.Number(step);
    if (step == kFar) AddFar(corner, last);
    Pass(gates, gate, corner);
    --left;
  }
  return true;
}

void WalkWriter::AddFar(std::uint32_t corner, std::uint32_t& last) {
  farCorners_.Number(ZigZag(corner - last));
  last = corner;
  ++farCount_;
}

void WalkWriter::AppendTo(ByteWriter& out) const {
  out.Number(farCount_);
  out.Append(farCorners_);
  out.Append(steps_);
}

const char* ReadWalks(ByteReader& reader, GRepMesh& mesh) {
  const std::uint32_t count = reader.Number();
  if (count > reader.Remaining()) return "its far corners are cut short";
  std::vector<std::uint32_t> farCorners(count);
  for (std::uint32_t& corner : farCorners)
    corner = UnZigZag(reader.Number());
  WalkReader in{reader, farCorners};
  std::vector<Gate> gates;
  for (const GRepFace& face : mesh.faces)
    if (const char* const reason = ReadWalk(in, face, mesh.triangles.data() + face.firstIndex, gates))
      return reason;
  return in.farsRead == count ? nullptr : "its walks leave far corners over";
}

}  // namespace mirel

#include <Viewer/Kernel/Host/GeometryView/GRepRecord.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>
#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/GeometryView/GRepFeatureRecord.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>
#include <Viewer/Kernel/Host/GeometryView/GRepWalk.h>
#include <Viewer/Kernel/Host/GeometryView/RecordBytes.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <vector>

// A record is a header of fixed size and a payload, which is one sequence of bytes without inner offsets: the
// face table, the edge table, for each vertex whether its place is new, the new places, the normals, the
// triangles of each face as strips, the polylines, and, since version 2, surfaces and sides of edges. Numbers of
// the payload are unsigned LEB128; signed ones are zigzag-coded before.
//
// Vertices of a face come in the order of its boundary, so most of them lie one step along an edge that
// another face has walked before: references are mostly +1 and -1, strips advance by one, and gzip makes
// little of that.

namespace mirel {
namespace {

constexpr char kMagic[4] = {'G', 'R', 'e', 'p'};
// The second says of which kind faces and edges are. The third is for drawings: as the first, but arranged so that packers
// make less of it.
constexpr std::uint32_t kPlainVersion = 1;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kDrawingVersion = 3;
constexpr std::size_t kHeaderBytes = 132;
constexpr std::size_t kFirstReadBytes = 1 << 16;
constexpr std::uint32_t kFlagFine = 1;

using Place = std::array<std::uint32_t, 3>;

struct PlaceHash {
  std::size_t operator()(const Place& place) const {
    std::uint64_t hash = place[0];
    for (std::uint32_t next : {place[1], place[2]})
      hash = (hash ^ next) * 0x9E3779B97F4A7C15u + (hash >> 29);
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};

// Reads `size` bytes in one piece if the stream has them at hand, else in growing pieces, so that a size that the
// stream cannot fill takes no memory.
bool ReadBytes(std::istream& stream, std::size_t size, MallocBytes& bytes) {
  const std::streamsize known = stream.rdbuf() ? stream.rdbuf()->in_avail() : 0;
  const std::size_t atHand = known > 0 ? static_cast<std::size_t>(known) : 0;
  for (std::size_t start = 0; start < size;) {
    const std::size_t piece = std::min(size - start, std::max({kFirstReadBytes, start, atHand}));
    char* const grown = static_cast<char*>(std::realloc(bytes.get(), start + piece));
    if (!grown) throw std::bad_alloc();
    static_cast<void>(bytes.release());  // realloc has taken it over
    bytes.reset(grown);
    stream.read(grown + start, static_cast<std::streamsize>(piece));
    if (static_cast<std::size_t>(stream.gcount()) != piece) return false;
    start += piece;
  }
  return true;
}

Place PlaceOf(const GRepVertex& vertex) {
  return {vertex.x, vertex.y, vertex.z};
}
Place PlaceOf(const GRepFineVertex& vertex) {
  return {vertex.x, vertex.y, vertex.z};
}

// Numbers the places of vertices in order of first use.
template <typename Vertex>
class PlaceTable {
 public:
  explicit PlaceTable(const std::vector<Vertex>& vertices) : vertices_(vertices) {
    std::size_t slots = 16;
    while (slots < 2 * vertices.size())
      slots *= 2;
    slots_.resize(slots, kFree);
  }

  // The number of the place of vertex i; `isNew` when no vertex before has it.
  std::uint32_t Find(std::size_t i, bool& isNew) {
    const Place place = PlaceOf(vertices_[i]);
    std::size_t slot = PlaceHash()(place) & (slots_.size() - 1);
    while (slots_[slot] != kFree && PlaceOf(vertices_[firstAtPlace_[slots_[slot]]]) != place)
      slot = (slot + 1) & (slots_.size() - 1);
    isNew = slots_[slot] == kFree;
    if (isNew) {
      slots_[slot] = Count();
      firstAtPlace_.push_back(i);
    }
    return slots_[slot];
  }
  std::uint32_t Count() const { return static_cast<std::uint32_t>(firstAtPlace_.size()); }

 private:
  static constexpr std::uint32_t kFree = 0xFFFFFFFFu;

  const std::vector<Vertex>& vertices_;
  std::vector<std::uint32_t> slots_;  // open addressing: at most half of them are taken
  std::vector<std::size_t> firstAtPlace_;
};

// The reference of a vertex is 0 for a new place; else it says how far its place is, in order of first use,
// from that of the vertex before.
template <typename Vertex>
std::uint32_t WriteVertices(const std::vector<Vertex>& vertices, GRepRecordForm form, ByteWriter& out) {
  PlaceTable<Vertex> places(vertices);
  std::vector<bool> isNew(vertices.size());
  std::uint32_t before = 0;
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    bool isFirst;
    const std::uint32_t place = places.Find(i, isFirst);
    isNew[i] = isFirst;
    out.Number(isFirst ? 0 : ZigZag(place - before) + 1);
    before = place;
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    std::uint32_t last = 0;
    for (std::size_t i = 0; i < vertices.size(); ++i) {
      const std::uint32_t value = PlaceOf(vertices[i])[axis];
      if (isNew[i]) out.Number(ZigZag(value - last));
      last = value;
    }
  }
  if (form == GRepRecordForm::kDrawing) {
    for (std::int8_t Vertex::*const component : {&Vertex::nx, &Vertex::ny}) {
      std::uint8_t last = 0;
      for (const Vertex& vertex : vertices) {
        const auto value = static_cast<std::uint8_t>(vertex.*component);
        out.Fixed(static_cast<std::uint8_t>(value - last), 1);
        last = value;
      }
    }
    return places.Count();
  }
  for (const Vertex& vertex : vertices)
    for (std::int8_t n : {vertex.nx, vertex.ny})
      out.Fixed(static_cast<std::uint8_t>(n), 1);
  return places.Count();
}

// One coordinate of all vertices. `first[i]` is the first vertex at the place of vertex i.
template <typename Vertex, typename Coordinate>
bool ReadAxis(ByteReader& reader, const std::uint32_t* first, std::vector<Vertex>& vertices,
              Coordinate Vertex::*coordinate) {
  ByteReader in = reader;
  Vertex* const data = vertices.data();
  const std::size_t count = vertices.size();
  std::uint32_t last = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (first[i] == i) {
      last += UnZigZag(in.Number());
      if (last > std::numeric_limits<Coordinate>::max()) return false;
      data[i].*coordinate = static_cast<Coordinate>(last);
    } else {
      data[i].*coordinate = data[first[i]].*coordinate;
      last = data[i].*coordinate;
    }
  }
  reader = in;
  return true;
}

// Normals as differences, one component after the other.
template <typename Vertex>
void ReadNormalDifferences(const unsigned char* bytes, std::vector<Vertex>& vertices) {
  for (std::int8_t Vertex::*const component : {&Vertex::nx, &Vertex::ny}) {
    std::uint8_t last = 0;
    for (Vertex& vertex : vertices) {
      last = static_cast<std::uint8_t>(last + *bytes++);
      vertex.*component = static_cast<std::int8_t>(last);
    }
  }
}

template <typename Vertex>
const char* ReadVertices(ByteReader& reader, std::size_t placeCount, bool isDrawing,
                         std::vector<Vertex>& vertices) {
  const std::size_t count = vertices.size();
  const std::unique_ptr<std::uint32_t[]> first(new std::uint32_t[count]);
  const std::unique_ptr<std::uint32_t[]> firstAtPlace(new std::uint32_t[placeCount]);
  ByteReader in = reader;
  std::uint32_t known = 0, before = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t code = in.Number();
    if (code == 0) {
      if (known == placeCount) return "its number of places is wrong";
      before = known++;
      firstAtPlace[before] = static_cast<std::uint32_t>(i);
    } else {
      before += UnZigZag(code - 1);
      if (before >= known) return "a vertex refers to a place that is not there yet";
    }
    first[i] = firstAtPlace[before];
  }
  if (known != placeCount) return "its number of places is wrong";
  reader = in;
  if (!ReadAxis(reader, first.get(), vertices, &Vertex::x) ||
      !ReadAxis(reader, first.get(), vertices, &Vertex::y) ||
      !ReadAxis(reader, first.get(), vertices, &Vertex::z))
    return "a place lies outside the grid";
  const unsigned char* const normals = reader.Bytes(2 * count);
  if (normals && isDrawing) {
    ReadNormalDifferences(normals, vertices);
  } else if (normals) {
    for (std::size_t i = 0; i < count; ++i) {
      vertices[i].nx = static_cast<std::int8_t>(normals[2 * i]);
      vertices[i].ny = static_cast<std::int8_t>(normals[2 * i + 1]);
    }
  }
  return nullptr;
}

// The triangles of one face as strips: the number of corners of the strip, then each corner as the difference
// to the corner two before it. Corners k, k+1, k+2 of a strip are a triangle, the first two swapped when k is
// odd; a strip turns by repeating a corner, which makes a triangle that has two equal corners and is left
// out.
class StripWriter {
 public:
  // False when a triangle has two equal corners: strips cannot hold it.
  bool Face(const std::uint32_t* corners, std::size_t count, std::uint32_t firstVertex) {
    std::uint32_t beforeLast = 0, last = 0;
    const std::uint32_t* const end = corners + count;
    while (corners != end) {
      strip_.assign(corners, corners + 2);
      for (bool more = true; more; corners += 3) {
        const std::uint32_t corner = corners[2];
        if (corners[0] == corners[1] || corners[1] == corner || corner == corners[0]) return false;
        const std::uint32_t x = strip_[strip_.size() - 2], p = strip_.back();
        const std::uint32_t* const next = corners + 3;
        const bool odd = strip_.size() % 2 == 0;  // as the next triangle will be, if the strip does not turn
        more = next != end;
        if (more && !Continues(next, p, corner, !odd)) {
          more = Continues(next, x, corner, odd);
          if (more) strip_.push_back(x);
        }
        strip_.push_back(corner);
      }
      out_.Number(static_cast<std::uint32_t>(strip_.size()));
      for (std::uint32_t corner : strip_) {
        out_.Number(ZigZag(corner - firstVertex - beforeLast));
        beforeLast = last;
        last = corner - firstVertex;
      }
    }
    return true;
  }

  void AppendTo(ByteWriter& out) const { out.Append(out_); }

 private:
  static bool Continues(const std::uint32_t* triangle, std::uint32_t a, std::uint32_t b, bool even) {
    return triangle[even ? 0 : 1] == a && triangle[even ? 1 : 0] == b;
  }

  ByteWriter out_;
  std::vector<std::uint32_t> strip_;
};

// Strips or walks; false when they cannot hold a triangle.
template <typename Writer>
bool WriteFaces(const GRepMesh& mesh, Writer writer, ByteWriter& out) {
  for (const GRepFace& face : mesh.faces)
    if (!writer.Face(mesh.triangles.data() + face.firstIndex, face.indexCount, face.firstVertex))
      return false;
  writer.AppendTo(out);
  return true;
}

const char* ReadStrips(ByteReader& reader, const GRepFace& face, std::uint32_t* corners) {
  ByteReader in = reader;
  std::uint32_t beforeLast = 0, last = 0;
  const std::uint32_t* const end = corners + face.indexCount;
  while (corners != end) {
    const std::uint32_t length = in.Number();
    if (length < 3) return "a strip has no triangle";
    if (length > in.Remaining()) return "its strips are cut short";
    for (std::uint32_t k = 0; k < length; ++k) {
      const std::uint32_t corner = beforeLast + UnZigZag(in.Number());
      if (corner >= face.vertexCount) return "a triangle uses a vertex that its face does not have";
      const bool isTriangle = (k >= 2) & (corner != last) & (corner != beforeLast) & (last != beforeLast);
      if (corners != end) {
        corners[k % 2] = face.firstVertex + beforeLast;
        corners[1 - k % 2] = face.firstVertex + last;
        corners[2] = face.firstVertex + corner;
        corners += isTriangle ? 3 : 0;
      } else if (isTriangle) {
        return "a face has more triangles than it should";
      }
      beforeLast = last;
      last = corner;
    }
  }
  reader = in;
  return in.Failed() ? "its strips are cut short" : nullptr;
}

struct Counts {
  std::uint32_t vertices, places, corners, faces, points, edges;
};

const char* ReadPayload(ByteReader& in, const Counts& counts, bool fine, std::uint64_t version,
                        GRepMesh& mesh) {
  const bool isDrawing = version == kDrawingVersion;
  mesh.faces.resize(counts.faces);
  std::uint64_t vertexEnd = 0, indexEnd = 0;
  for (GRepFace& face : mesh.faces) {
    face.firstVertex = static_cast<std::uint32_t>(vertexEnd);
    face.firstIndex = static_cast<std::uint32_t>(indexEnd);
    face.vertexCount = in.Number();
    const std::uint64_t corners = std::uint64_t{3} * in.Number();
    vertexEnd += face.vertexCount;
    indexEnd += corners;
    if (vertexEnd > counts.vertices || indexEnd > counts.corners) return "its faces need more than it has";
    face.indexCount = static_cast<std::uint32_t>(corners);
  }
  if (indexEnd != counts.corners) return "its faces do not use all triangles";

  mesh.edges.resize(counts.edges);
  indexEnd = 0;
  for (GRepEdge& edge : mesh.edges) {
    edge.firstIndex = static_cast<std::uint32_t>(indexEnd);
    edge.indexCount = in.Number();
    indexEnd += edge.indexCount;
    if (indexEnd > counts.points || edge.indexCount == 1) return "its edges need more points than it has";
  }
  if (indexEnd != counts.points) return "its edges do not use all points";

  const char* reason;
  if (fine) {
    mesh.fineVertices.resize(counts.vertices);
    reason = ReadVertices(in, counts.places, isDrawing, mesh.fineVertices);
  } else {
    mesh.vertices.resize(counts.vertices);
    reason = ReadVertices(in, counts.places, isDrawing, mesh.vertices);
  }
  if (reason != nullptr) return reason;

  mesh.triangles.resize(counts.corners);
  if (isDrawing) {
    if ((reason = ReadWalks(in, mesh)) != nullptr) return reason;
  } else {
    for (const GRepFace& face : mesh.faces)
      if ((reason = ReadStrips(in, face, mesh.triangles.data() + face.firstIndex)) != nullptr) return reason;
  }

  mesh.polylines.resize(counts.points);
  std::uint32_t last = 0;
  for (std::uint32_t& point : mesh.polylines) {
    point = last += UnZigZag(in.Number());
    if (point >= counts.vertices) return "a polyline uses a vertex that is not there";
  }
  if (version == kVersion && (reason = ReadFeatures(in, mesh)) != nullptr) return reason;
  if (in.Failed()) return "its payload is cut short or holds a number that is too long";
  if (!in.AtEnd()) return "its payload has bytes left over";
  return nullptr;
}

}  // namespace

bool WriteGRepRecord(const GRepMesh& mesh, std::ostream& stream, GRepRecordForm form) {
  for (std::size_t count : {mesh.vertices.size(), mesh.fineVertices.size(), mesh.triangles.size(),
                            mesh.faces.size(), mesh.polylines.size(), mesh.edges.size()})
    if (count > kMaxMeshElements) return false;

  ByteWriter payload;
  for (const GRepFace& face : mesh.faces) {
    payload.Number(face.vertexCount);
    payload.Number(face.indexCount / 3);
  }
  for (const GRepEdge& edge : mesh.edges)
    payload.Number(edge.indexCount);
  const bool fine = !mesh.fineVertices.empty();
  const std::uint32_t places =
      fine ? WriteVertices(mesh.fineVertices, form, payload) : WriteVertices(mesh.vertices, form, payload);
  const bool isDrawing = form == GRepRecordForm::kDrawing;
  if (isDrawing ? !WriteFaces(mesh, WalkWriter(), payload) : !WriteFaces(mesh, StripWriter(), payload))
    return false;
  std::uint32_t last = 0;
  for (std::uint32_t point : mesh.polylines) {
    payload.Number(ZigZag(point - last));
    last = point;
  }
  // What was read from a record of the first version is written as one.
  const bool hasFeatures =
      !isDrawing && mesh.surfaces.size() == mesh.faces.size() && mesh.sides.size() == mesh.edges.size();
  if (hasFeatures) WriteFeatures(mesh, payload);
  if (payload.Data().size() > kMaxMeshElements) return false;

  ByteWriter header;
  for (char c : kMagic)
    header.Fixed(static_cast<unsigned char>(c), 1);
  header.Fixed(isDrawing ? kDrawingVersion : hasFeatures ? kVersion : kPlainVersion, 2);
  header.Fixed(fine ? kFlagFine : 0, 1);
  header.Fixed(static_cast<std::uint64_t>(mesh.box.GetState()), 1);
  for (std::size_t count :
       {payload.Data().size(), mesh.GetVertexCount(), std::size_t{places}, mesh.GetTriangleCount(),
        mesh.faces.size(), mesh.polylines.size(), mesh.edges.size()})
    header.Fixed(count, 4);
  const bool finite = mesh.box.IsFinite();
  for (int axis = 0; axis < 3; ++axis)
    header.Real(finite ? mesh.box.GetMin()[axis] : 0.0);
  for (int axis = 0; axis < 3; ++axis)
    header.Real(finite ? mesh.box.GetMax()[axis] : 0.0);
  for (int axis = 0; axis < 3; ++axis)
    header.Real(mesh.gridOrigin[axis]);
  header.Real(mesh.gridStep);
  header.Real(mesh.linearDeflection);
  header.Real(mesh.angularDeflection);

  stream.write(header.Data().data(), static_cast<std::streamsize>(header.Data().size()));
  stream.write(payload.Data().data(), static_cast<std::streamsize>(payload.Data().size()));
  return stream.good();
}

const char* ReadGRepRecord(std::istream& stream, GRepMesh& mesh) {
  char head[kHeaderBytes];
  if (!stream.read(head, sizeof head)) return "it ends inside the header";
  if (std::memcmp(head, kMagic, sizeof kMagic) != 0) return "it does not begin with GRep";
  ByteReader header(head + sizeof kMagic, sizeof head - sizeof kMagic);
  const std::uint64_t version = header.Fixed(2);
  if (version < kPlainVersion || version > kDrawingVersion) return "its version is unknown";
  const std::uint64_t flags = header.Fixed(1), state = header.Fixed(1);
  if (flags > kFlagFine || state > AABoxT<double>::kInfinite) return "its flags are unknown";
  const std::uint32_t payloadBytes = header.U32();
  Counts counts{};
  counts.vertices = header.U32();
  counts.places = header.U32();
  const std::uint32_t triangles = header.U32();
  counts.faces = header.U32();
  counts.points = header.U32();
  counts.edges = header.U32();
  double reals[12];
  for (double& real : reals)
    real = header.Real();
  const double* const low = reals;
  const double* const high = reals + 3;
  const double* const origin = reals + 6;
  const double step = reals[9], linear = reals[10], angular = reals[11];
  for (int i = 0; i < 9; ++i)
    if (!(std::abs(reals[i]) <= kMaxMeshCoordinate)) return "a coordinate of its box or grid is no number";
  for (int axis = 0; axis < 3; ++axis)
    if (low[axis] > high[axis]) return "its box is inverted";
  if (!(step > 0.0 && step <= kMaxMeshCoordinate)) return "its grid has no step";
  if (!(linear >= 0.0 && linear <= kMaxMeshCoordinate && angular >= 0.0 && angular <= kMaxMeshCoordinate))
    return "its deflections are no numbers";
  if (counts.vertices > 0 && state != AABoxT<double>::kFinite) return "it has vertices but no finite box";
  // The least that each element takes: 3 bytes a vertex, 3 a new place, 1 a triangle, 2 a face, 1 a point, 1
  // an edge; what is known of it, 1 a face and 1 an edge.
  const std::uint64_t known = version == kVersion ? 1 : 0;
  const std::uint64_t least = std::uint64_t{3} * counts.vertices + std::uint64_t{3} * counts.places +
                              triangles + (2 + known) * counts.faces + counts.points +
                              (1 + known) * counts.edges;
  if (least > payloadBytes || payloadBytes > kMaxMeshElements || triangles > kMaxMeshElements / 3)
    return "its counts do not fit its size";
  MallocBytes bytes;
  if (!ReadBytes(stream, payloadBytes, bytes)) return "it ends inside the payload";

  mesh = GRepMesh();
  if (state == AABoxT<double>::kFinite)
    mesh.box.SetCorners({low[0], low[1], low[2]}, {high[0], high[1], high[2]});
  if (state == AABoxT<double>::kInfinite) mesh.box.SetInfinite();
  mesh.gridOrigin = {origin[0], origin[1], origin[2]};
  mesh.gridStep = step;
  mesh.linearDeflection = linear;
  mesh.angularDeflection = angular;
  counts.corners = triangles * 3;
  ByteReader payload(bytes.get(), payloadBytes);
  return ReadPayload(payload, counts, (flags & kFlagFine) != 0, version, mesh);
}

}  // namespace mirel

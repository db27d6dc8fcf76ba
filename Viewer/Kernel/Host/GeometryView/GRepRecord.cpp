#include <Viewer/Kernel/Host/GeometryView/GRepRecord.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>

namespace mirel {
namespace {

constexpr char kMagic[4] = {'G', 'R', 'e', 'p'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHeaderBytes = 104;
constexpr std::size_t kChunkBytes = 1 << 20;

class ByteWriter {
 public:
  void Integer(std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      data_.push_back(static_cast<char>(value >> (8 * i)));
  }
  void Real(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    Integer(bits, 8);
  }
  std::string& Data() { return data_; }

 private:
  std::string data_;
};

// Reads what the caller has made sure is there.
class ByteReader {
 public:
  explicit ByteReader(const char* data) : next_(data) {}
  std::uint64_t Integer(int bytes) {
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i)
      value |= static_cast<std::uint64_t>(static_cast<unsigned char>(*next_++)) << (8 * i);
    return value;
  }
  std::uint32_t U32() { return static_cast<std::uint32_t>(Integer(4)); }
  double Real() {
    const std::uint64_t bits = Integer(8);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  const char* next_;
};

// Reads `size` bytes in pieces, so that a size that the stream cannot fill takes no memory.
bool ReadBytes(std::istream& stream, std::size_t size, std::string& bytes) {
  bytes.clear();
  while (bytes.size() < size) {
    const std::size_t start = bytes.size();
    const std::size_t piece = std::min(size - start, std::max(kChunkBytes, start));
    bytes.resize(start + piece);
    stream.read(&bytes[start], static_cast<std::streamsize>(piece));
    if (static_cast<std::size_t>(stream.gcount()) != piece) return false;
  }
  return true;
}

}  // namespace

bool WriteGRepRecord(const GRepMesh& mesh, std::ostream& stream) {
  const bool fine = !mesh.fineVertices.empty();
  ByteWriter payload;
  for (const GRepFace& face : mesh.faces) {
    payload.Integer(face.vertexCount, 4);
    payload.Integer(face.indexCount, 4);
  }
  for (const GRepEdge& edge : mesh.edges)
    payload.Integer(edge.indexCount, 4);
  for (const GRepVertex& v : mesh.vertices) {
    for (std::uint64_t place : {v.x, v.y, v.z})
      payload.Integer(place, 2);
    for (std::int8_t n : {v.nx, v.ny})
      payload.Integer(static_cast<std::uint8_t>(n), 1);
  }
  for (const GRepFineVertex& v : mesh.fineVertices) {
    for (std::uint64_t place : {v.x, v.y, v.z})
      payload.Integer(place, 4);
    for (std::int8_t n : {v.nx, v.ny})
      payload.Integer(static_cast<std::uint8_t>(n), 1);
  }
  for (std::uint32_t index : mesh.triangles)
    payload.Integer(index, 4);
  for (std::uint32_t index : mesh.polylines)
    payload.Integer(index, 4);

  ByteWriter header;
  header.Data().append(kMagic, sizeof kMagic);
  header.Integer(kVersion, 4);
  header.Integer(payload.Data().size(), 4);
  header.Integer(static_cast<std::uint64_t>(mesh.box.GetState()), 1);
  header.Integer(fine ? 1 : 0, 3);
  const bool finite = mesh.box.IsFinite();
  for (int axis = 0; axis < 3; ++axis)
    header.Real(finite ? mesh.box.GetMin()[axis] : 0.0);
  for (int axis = 0; axis < 3; ++axis)
    header.Real(finite ? mesh.box.GetMax()[axis] : 0.0);
  header.Real(mesh.linearDeflection);
  header.Real(mesh.angularDeflection);
  for (std::size_t count : {mesh.GetVertexCount(), mesh.triangles.size(), mesh.faces.size(),
                            mesh.polylines.size(), mesh.edges.size()}) {
    if (count > kMaxMeshElements) return false;
    header.Integer(count, 4);
  }
  header.Integer(0, 4);
  stream.write(header.Data().data(), static_cast<std::streamsize>(header.Data().size()));
  stream.write(payload.Data().data(), static_cast<std::streamsize>(payload.Data().size()));
  return stream.good();
}

const char* ReadGRepRecord(std::istream& stream, GRepMesh& mesh) {
  std::string bytes;
  if (!ReadBytes(stream, kHeaderBytes, bytes)) return "it ends inside the header";
  if (std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) return "it does not begin with GRep";
  ByteReader header(bytes.data() + sizeof kMagic);
  if (header.U32() != kVersion) return "its version is unknown";
  const std::uint32_t payloadBytes = header.U32();
  const std::uint64_t state = header.Integer(1);
  const std::uint64_t fine = header.Integer(3);
  if (state > AABoxT<double>::kInfinite || fine > 1) return "its flags are unknown";
  glm::dvec3 low, high;
  for (int axis = 0; axis < 3; ++axis)
    low[axis] = header.Real();
  for (int axis = 0; axis < 3; ++axis)
    high[axis] = header.Real();
  for (int axis = 0; axis < 3; ++axis)
    if (!(std::abs(low[axis]) <= kMaxMeshCoordinate && std::abs(high[axis]) <= kMaxMeshCoordinate &&
          low[axis] <= high[axis]))
      return "its box is not a box";
  mesh = GRepMesh();
  if (state == AABoxT<double>::kFinite) mesh.box.SetCorners(low, high);
  if (state == AABoxT<double>::kInfinite) mesh.box.SetInfinite();
  mesh.linearDeflection = header.Real();
  mesh.angularDeflection = header.Real();
  if (!(mesh.linearDeflection >= 0.0 && mesh.linearDeflection <= kMaxMeshCoordinate))
    return "its deflection is wrong";
  if (!(mesh.angularDeflection >= 0.0 && mesh.angularDeflection <= 10.0)) return "its deflection is wrong";
  const std::uint64_t vertices = header.U32(), triangles = header.U32(), faces = header.U32(),
                      polylines = header.U32(), edges = header.U32();
  if (vertices > 0 && state != AABoxT<double>::kFinite) return "it has vertices but no box";
  if (payloadBytes != vertices * (fine ? 14 : 8) + triangles * 4 + faces * 8 + polylines * 4 + edges * 4)
    return "its counts do not fit its size";
  if (!ReadBytes(stream, payloadBytes, bytes)) return "it ends inside the payload";

  ByteReader reader(bytes.data());
  mesh.faces.resize(faces);
  std::uint64_t vertexEnd = 0, indexEnd = 0;
  for (GRepFace& face : mesh.faces) {
    face.firstVertex = static_cast<std::uint32_t>(vertexEnd);
    face.firstIndex = static_cast<std::uint32_t>(indexEnd);
    face.vertexCount = reader.U32();
    face.indexCount = reader.U32();
    vertexEnd += face.vertexCount;
    indexEnd += face.indexCount;
    if (face.indexCount % 3 != 0 || vertexEnd > vertices || indexEnd > triangles)
      return "its face ranges are wrong";
  }
  if (indexEnd != triangles) return "its face ranges are wrong";
  mesh.edges.resize(edges);
  indexEnd = 0;
  for (GRepEdge& edge : mesh.edges) {
    edge.firstIndex = static_cast<std::uint32_t>(indexEnd);
    edge.indexCount = reader.U32();
    indexEnd += edge.indexCount;
    if (indexEnd > polylines) return "its edge ranges are wrong";
  }
  if (indexEnd != polylines) return "its edge ranges are wrong";
  if (fine) {
    mesh.fineVertices.resize(vertices);
    for (GRepFineVertex& v : mesh.fineVertices) {
      for (std::uint32_t* place : {&v.x, &v.y, &v.z})
        *place = reader.U32();
      for (std::int8_t* n : {&v.nx, &v.ny})
        *n = static_cast<std::int8_t>(reader.Integer(1));
      v.unused = 0;
    }
  } else {
    mesh.vertices.resize(vertices);
    for (GRepVertex& v : mesh.vertices) {
      for (std::uint16_t* place : {&v.x, &v.y, &v.z})
        *place = static_cast<std::uint16_t>(reader.Integer(2));
      for (std::int8_t* n : {&v.nx, &v.ny})
        *n = static_cast<std::int8_t>(reader.Integer(1));
    }
  }
  mesh.triangles.resize(triangles);
  for (const GRepFace& face : mesh.faces)
    for (std::uint32_t i = 0; i < face.indexCount; ++i) {
      const std::uint32_t index = reader.U32();
      if (index < face.firstVertex || index - face.firstVertex >= face.vertexCount)
        return "a triangle uses a vertex of another face";
      mesh.triangles[face.firstIndex + i] = index;
    }
  mesh.polylines.resize(polylines);
  for (std::uint32_t& index : mesh.polylines)
    if ((index = reader.U32()) >= vertices) return "a polyline uses a vertex that does not exist";
  return nullptr;
}

}  // namespace mirel

// Prints what the C++ readers make of many inputs, for the comparison with the reader of Web/: MirelReaderValues FILE, which
// holds the inputs one after another, each a kind (a letter), a size (4 bytes, little-endian) and its bytes. One line each: "no" for
// what is refused, else a checksum of all values.

#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PackageTable.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>

#include <lzma.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <sstream>

using namespace mirel;

namespace {

/// FNV-1a over the bytes of all values, each as a double.
class Checksum {
 public:
  void Byte(unsigned value) { sum_ = (sum_ ^ (value & 255)) * 16777619u; }
  void Add(double value) {
    unsigned char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    for (const unsigned char byte : bytes)
      Byte(byte);
  }
  void Add(const glm::dvec3& v) {
    for (int i = 0; i < 3; ++i)
      Add(v[i]);
  }
  void AddId(std::uint64_t id) {
    Add(static_cast<double>(id >> 32));
    Add(static_cast<double>(id & 0xFFFFFFFFu));
  }
  std::uint32_t Get() const { return sum_; }

 private:
  std::uint32_t sum_ = 2166136261u;
};

void AddMesh(Checksum& sum, const GRepMesh& mesh) {
  sum.Add(mesh.box.GetState());
  if (mesh.box.IsFinite()) {
    sum.Add(mesh.box.GetMin());
    sum.Add(mesh.box.GetMax());
  }
  sum.Add(mesh.gridOrigin);
  for (const double real : {mesh.gridStep, mesh.linearDeflection, mesh.angularDeflection})
    sum.Add(real);
  const auto addVertices = [&](const auto& vertices) {
    for (const auto& vertex : vertices)
      for (const double value :
           {double(vertex.x), double(vertex.y), double(vertex.z), double(vertex.nx), double(vertex.ny)})
        sum.Add(value);
  };
  addVertices(mesh.vertices);
  addVertices(mesh.fineVertices);
  for (const std::uint32_t corner : mesh.triangles)
    sum.Add(corner);
  for (const GRepFace& face : mesh.faces) {
    sum.Add(face.firstIndex + face.indexCount);
    sum.Add(face.firstVertex + face.vertexCount);
  }
  for (const std::uint32_t point : mesh.polylines)
    sum.Add(point);
  for (const GRepEdge& edge : mesh.edges)
    sum.Add(edge.firstIndex + edge.indexCount);
  for (const GRepSurface& surface : mesh.surfaces) {
    sum.Add(static_cast<double>(surface.kind));
    sum.Add(surface.isHollow);
    sum.Add(surface.origin);
    sum.Add(surface.axis);
    sum.Add(surface.radius);
    sum.Add(surface.second);
  }
  for (const GRepEdgeSides& sides : mesh.sides) {
    sum.Add(static_cast<double>(sides.kind));
    sum.Add(sides.first);
    sum.Add(sides.second);
  }
}

/// The items of two readings of one index: where the ids differ, the index gives none.
void AddItem(Checksum& sum, const LiteModelItem& item, const LiteModelItem& again) {
  sum.Byte(static_cast<unsigned char>(item.GetType()[0]));
  if (item.GetId() == again.GetId()) sum.AddId(item.GetId().GetInteger());
  for (const char c : item.GetName())
    if (static_cast<unsigned char>(c) < 128) sum.Byte(static_cast<unsigned char>(c));
  sum.Add(item.GetColor());
  for (int i = 0; i < 16; ++i)
    sum.Add(item.GetTransform()[i / 4][i % 4]);
  if (const auto* const shape = dynamic_cast<const ShapeItem*>(&item)) {
    sum.AddId(shape->GetShapeId().GetInteger());
    for (const auto& [face, color] : std::map(shape->GetFaceColor().begin(), shape->GetFaceColor().end())) {
      sum.Add(face);
      sum.Add(color);
    }
  } else if (const auto* const instance = dynamic_cast<const InstanceItem*>(&item)) {
    sum.AddId(instance->GetTypeId().GetInteger());
  } else if (const auto* const group = dynamic_cast<const GroupItem*>(&item)) {
    sum.Add(static_cast<double>(group->GetChildren().size()));
    for (std::size_t i = 0; i < group->GetChildren().size(); ++i)
      AddItem(sum, *group->GetChildren()[i], *dynamic_cast<const GroupItem&>(again).GetChildren()[i]);
  }
}

bool AddIndex(Checksum& sum, const std::string& text) {
  LiteModel model, again;
  LiteModelReader reader(model);
  if (!reader.Load(text) || !LiteModelReader(again).Load(text)) return false;
  sum.Add(reader.GetPkgShape());
  sum.Add(reader.GetPkgGRep());
  std::map<std::uint64_t, const LiteModelItem*> types;  // those that can be found
  for (const auto& [id, type] : model.GetTypes())
    if (again.FindType(id)) types[id.GetInteger()] = type.get();
  for (const auto& [id, type] : types)
    AddItem(sum, *type, *again.FindType(type->GetId()));
  for (std::size_t i = 0; i < model.GetItems().size(); ++i)
    AddItem(sum, *model.GetItems()[i], *again.GetItems()[i]);
  return true;
}

bool AddRecord(Checksum& sum, const std::string& bytes) {
  std::istringstream stream(bytes);
  const std::shared_ptr<GRepShape> grep = GRepShape::FromStream(stream);
  if (grep) AddMesh(sum, grep->GetMesh());
  return grep != nullptr;
}

bool AddPackage(Checksum& sum, const std::string& bytes) {
  LiteModel model;
  if (!PkgGRepReader(model).Load(bytes.data(), static_cast<unsigned>(bytes.size()))) return false;
  std::map<std::uint64_t, std::shared_ptr<GRepShape>> sorted;
  for (const auto& [id, grep] : model.GetGRepShapes())
    sorted[id.GetInteger()] = grep;
  for (const auto& [id, grep] : sorted) {
    sum.AddId(id);
    AddMesh(sum, grep->GetMesh());
  }
  return true;
}

bool AddTable(Checksum& sum, const std::string& bytes) {
  const PackageTable table(bytes.data(), bytes.size());
  for (std::size_t i = 0; i < table.GetCount(); ++i) {
    sum.AddId(table.GetEntry(i).id.GetInteger());
    sum.Add(table.GetEntry(i).size);
  }
  return table.GetCount() > 0;
}

bool AddGzip(Checksum& sum, const std::string& bytes) {
  const std::shared_ptr<RawBuffer> content = GzBuffer::FromMemory(bytes.data(), bytes.size(), "input");
  for (std::size_t i = 0; content && i < content->GetSize(); ++i)
    sum.Byte(static_cast<unsigned char>(content->GetData()[i]));
  return content != nullptr;
}

bool AddLzip(Checksum& sum, const std::string& bytes) {
  lzma_stream stream = LZMA_STREAM_INIT;
  if (lzma_lzip_decoder(&stream, UINT64_MAX, 0) != LZMA_OK) return false;
  stream.next_in = reinterpret_cast<const std::uint8_t*>(bytes.data());
  stream.avail_in = bytes.size();
  std::string content;
  lzma_ret state = LZMA_OK;
  for (std::uint8_t part[1 << 16]; state == LZMA_OK;) {
    stream.next_out = part;
    stream.avail_out = sizeof part;
    state = lzma_code(&stream, LZMA_FINISH);
    content.append(reinterpret_cast<const char*>(part), sizeof part - stream.avail_out);
  }
  lzma_end(&stream);
  for (const char byte : content)
    sum.Byte(static_cast<unsigned char>(byte));
  return state == LZMA_STREAM_END && stream.avail_in == 0;
}

std::optional<std::uint32_t> Read(char kind, const std::string& bytes) {
  Checksum sum;
  const bool accepted = kind == 'i'   ? AddIndex(sum, bytes)
                        : kind == 'r' ? AddRecord(sum, bytes)
                        : kind == 'p' ? AddPackage(sum, bytes)
                        : kind == 't' ? AddTable(sum, bytes)
                        : kind == 'l' ? AddLzip(sum, bytes)
                                      : AddGzip(sum, bytes);
  return accepted ? std::optional(sum.Get()) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  Logger::Instance().SetSink([](int, const std::string&) {});
  const std::string inputs = ReadFile(argv[1]);
  for (std::size_t at = 0; at + 5 <= inputs.size();) {
    std::uint32_t size = 0;
    for (std::size_t i = 4; i > 0; --i)
      size = size << 8 | static_cast<unsigned char>(inputs[at + i]);
    const std::optional<std::uint32_t> sum = Read(inputs[at], inputs.substr(at + 5, size));
    if (sum)
      std::printf("%08x\n", static_cast<unsigned>(*sum));
    else
      std::puts("no");
    at += 5 + size;
  }
  return 0;
}

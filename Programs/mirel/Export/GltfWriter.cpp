#include <Programs/mirel/Export/GltfWriter.h>

#include <Programs/mirel/Export/GltfPlacement.h>
#include <Programs/mirel/Export/LittleEndian.h>
#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Host/Core/MathUtil.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <glm/gtc/type_ptr.hpp>

#include <limits>
#include <utility>

namespace mirel {

namespace {

constexpr const char* kGenerator = "mirel";
constexpr std::uint32_t kGlbMagic = 0x46546C67, kGlbVersion = 2;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A, kBinaryChunk = 0x004E4942;
constexpr std::size_t kChunkAlignment = 4;

// Millimetres with z upwards become metres with y upwards.
const glm::dmat4 kAxes(glm::dvec4(0.001, 0, 0, 0), glm::dvec4(0, 0, -0.001, 0), glm::dvec4(0, 0.001, 0, 0),
                       glm::dvec4(0, 0, 0, 1));

void Pad(std::string& bytes, char filler) {
  while (bytes.size() % kChunkAlignment != 0) {
    bytes.push_back(filler);
  }
}

}  // namespace

GltfWriter::GltfWriter(const SceneNode& root, const GltfOptions& options)
    : options_(options), meshes_(options) {
  AddChild(root, kAxes);
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    const Node node = nodes_[i];
    nodes_[i].firstChild = static_cast<std::uint32_t>(nodes_.size());
    if (node.inner) {
      Node inner = node;
      inner.placement = *node.inner;
      inner.inner.reset();
      inner.isInner = true;
      nodes_.push_back(inner);
      nodes_[i].mesh.reset();
    } else {
      for (const std::shared_ptr<SceneNode>& child : node.source->GetNodes()) {
        AddChild(*child, glm::dmat4(1.0));
      }
    }
    nodes_[i].childCount = static_cast<std::uint32_t>(nodes_.size()) - nodes_[i].firstChild;
  }
}

void GltfWriter::AddChild(const SceneNode& source, const glm::dmat4& parent) {
  if (!source.IsVisible()) {
    return;
  }
  Node node;
  node.source = &source;
  node.placement = parent * source.GetTransform();
  if (source.GetKind() == SceneNodeKind::kBrep) {
    node.mesh = meshes_.Find(static_cast<const BrepSceneNode&>(source));
  }
  if (node.mesh) {
    node.placement *= meshes_.GetMeshPlacement(*node.mesh);
    ++placedBodies_;
  }
  const std::vector<glm::dmat4> parts = GltfPlacement::Split(node.placement);
  if (parts.empty()) {
    ++leftOut_;
    return;
  }
  node.placement = parts[0];
  if (parts.size() > 1) {
    node.inner = parts[1];
  }
  nodes_.push_back(node);
}

void GltfWriter::AddNode(JsonText& json, const Node& node) const {
  json.BeginObject();
  if (!node.isInner) {
    if (!node.source->GetName().empty()) {
      json.Key("name");
      json.Text(node.source->GetName());
    }
    json.Key("extras");
    json.BeginObject();
    json.Key("id");
    json.Text(std::to_string(node.source->GetUserId()));
    json.EndObject();
  }
  if (!MathUtil::IsIdentity(node.placement)) {
    json.Key("matrix");
    json.Numbers(glm::value_ptr(node.placement), 16);
  }
  if (node.mesh) {
    json.Key("mesh");
    json.Unsigned(*node.mesh);
  }
  if (node.childCount > 0) {
    json.Key("children");
    json.BeginArray();
    for (std::uint32_t i = 0; i < node.childCount; ++i) {
      json.Unsigned(node.firstChild + i);
    }
    json.EndArray();
  }
  json.EndObject();
}

std::string GltfWriter::MakeText(const std::string& uri) const {
  JsonText json(false);
  json.BeginObject();
  json.Key("asset");
  json.BeginObject();
  json.Key("version");
  json.Text("2.0");
  json.Key("generator");
  json.Text(kGenerator);
  json.EndObject();
  if (options_.compress) {
    for (const char* const list : {"extensionsUsed", "extensionsRequired"}) {
      json.Key(list);
      json.BeginArray();
      json.Text("KHR_mesh_quantization");
      json.Text("EXT_meshopt_compression");
      json.EndArray();
    }
  }
  if (!nodes_.empty()) {
    json.Key("scene");
    json.Unsigned(0);
    json.Key("scenes");
    json.BeginArray();
    json.BeginObject();
    json.Key("nodes");
    json.BeginArray();
    json.Unsigned(0);
    json.EndArray();
    json.EndObject();
    json.EndArray();
    json.Key("nodes");
    json.BeginArray();
    for (const Node& node : nodes_) {
      AddNode(json, node);
    }
    json.EndArray();
  }
  // The format has no empty lists.
  if (!meshes_.IsEmpty()) {
    meshes_.AddTo(json, uri);
  }
  json.EndObject();
  return std::move(json.GetText());
}

bool GltfWriter::MakeBinary(std::string& file) const {
  std::string json = MakeText("");
  Pad(json, ' ');
  constexpr std::uint64_t kHeaders = 12 + 8 + 8;
  const std::string& bytes = meshes_.GetBytes();
  if (kHeaders + json.size() + bytes.size() + kChunkAlignment > std::numeric_limits<std::uint32_t>::max()) {
    return false;
  }
  file.clear();
  file.reserve(kHeaders + json.size() + bytes.size() + kChunkAlignment);
  LittleEndian::Append(file, kGlbMagic);
  LittleEndian::Append(file, kGlbVersion);
  LittleEndian::Append(file, 0);  // the size, when it is known
  LittleEndian::Append(file, static_cast<std::uint32_t>(json.size()));
  LittleEndian::Append(file, kJsonChunk);
  file += json;
  if (!bytes.empty()) {
    const std::size_t header = file.size();
    LittleEndian::Append(file, 0);
    LittleEndian::Append(file, kBinaryChunk);
    file += bytes;
    Pad(file, '\0');
    LittleEndian::Set(file, header, static_cast<std::uint32_t>(file.size() - header - 8));
  }
  LittleEndian::Set(file, 8, static_cast<std::uint32_t>(file.size()));
  return true;
}

}  // namespace mirel

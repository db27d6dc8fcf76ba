#include <Programs/mirel/Export/GltfMeshes.h>

#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/GeometryView/Srgb.h>

#include <meshoptimizer.h>

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <algorithm>
#include <cstring>

namespace mirel {

namespace {

// Numbers that glTF gives.
constexpr int kByte = 5120, kUnsignedShort = 5123, kUnsignedInt = 5125, kFloat = 5126;
constexpr int kVertexTarget = 34962, kIndexTarget = 34963;
constexpr int kLinesMode = 1;
constexpr std::size_t kAlignment = 4;
// Indices up to here fit into 16 bits; the next one restarts primitives.
constexpr std::size_t kMostShortVertices = 65535;

// A body that lies further from its origin than this many times its size is moved there, so that floats keep its digits.
constexpr double kFar = 16.0;

// What CAD programs look like: neither metal nor mirror.
constexpr double kRoughness = 0.6;
const glm::vec3 kLineColor(0.1F);

std::uint64_t Align(std::uint64_t size) {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

template <class Vertex>
std::array<glm::dvec3, 2> FindRange(const std::vector<Vertex>& points) {
  std::array<glm::dvec3, 2> range{glm::dvec3(points[0].x, points[0].y, points[0].z),
                                  glm::dvec3(points[0].x, points[0].y, points[0].z)};
  for (const Vertex& point : points) {
    const glm::dvec3 place(point.x, point.y, point.z);
    range[0] = glm::min(range[0], place);
    range[1] = glm::max(range[1], place);
  }
  return range;
}

/// The faces of one colour, in the order of the body.
struct ColorGroup {
  glm::vec3 color;
  std::vector<std::uint32_t> faces;
};

std::vector<ColorGroup> GroupFaces(const BrepSceneNode& node, bool eachFace) {
  const GRepMesh& mesh = node.GetGRep()->GetMesh();
  std::vector<ColorGroup> groups;
  std::map<std::tuple<float, float, float>, std::size_t> groupOf;
  for (std::uint32_t face = 0; face < mesh.faces.size(); ++face) {
    if (mesh.faces[face].indexCount == 0) {
      continue;
    }
    const glm::vec3& color = node.GetDrawnColor(face);
    const auto [found, isNew] = groupOf.try_emplace({color.r, color.g, color.b}, groups.size());
    if (isNew || eachFace) {
      found->second = groups.size();
      groups.push_back({color, {}});
    }
    groups[found->second].faces.push_back(face);
  }
  return groups;
}

}  // namespace

std::optional<std::uint32_t> GltfMeshes::Find(const BrepSceneNode& node) {
  if (!node.GetGRep()) {
    return std::nullopt;
  }
  const GRepMesh& drawn = node.GetGRep()->GetMesh();
  if (drawn.triangles.empty() && (!options_.edges || drawn.polylines.empty())) {
    return std::nullopt;
  }
  const std::uint32_t body = FindBody(node);
  const glm::vec3& color = node.GetColor();
  // Without a colour all bodies are alike, whatever the number that says so.
  const glm::vec3 own = color.r < 0.0F ? glm::vec3(-1.0F) : color;
  const std::shared_ptr<const FacePalette>& palette = node.GetPalette();
  const auto [found, isNew] = meshOf_.try_emplace({body, palette.get(), own.r, own.g, own.b},
                                                  static_cast<std::uint32_t>(meshes_.size()));
  if (isNew) {
    Mesh mesh{body, palette, {}};
    AddTriangles(node, mesh);
    if (bodies_[body].lines) {
      mesh.primitives.push_back({*bodies_[body].lines, FindMaterial(kLineColor), true, std::nullopt});
    }
    meshes_.push_back(std::move(mesh));
  }
  return found->second;
}

glm::dmat4 GltfMeshes::GetMeshPlacement(std::uint32_t mesh) const {
  return bodies_[meshes_[mesh].body].placement;
}

std::uint32_t GltfMeshes::FindBody(const BrepSceneNode& node) {
  const std::shared_ptr<GRepShape>& grep = node.GetGRep();
  const auto [found, isNew] = bodyOf_.try_emplace(grep.get(), static_cast<std::uint32_t>(bodies_.size()));
  if (!isNew) {
    return found->second;
  }
  const GRepMesh& mesh = grep->GetMesh();
  Body body;
  body.grep = grep;
  if (options_.compress && mesh.fineVertices.empty()) {
    AddIntegers(mesh, body);
  } else {
    AddFloats(mesh, body);
  }
  AddNormals(mesh, body);
  if (options_.edges) {
    const std::vector<std::uint32_t> segments = mesh.MakeSegments(true);
    if (!segments.empty()) {
      const std::uint32_t view = AddIndices(segments, mesh.GetVertexCount(), false);
      body.lines = static_cast<std::uint32_t>(accessors_.size());
      accessors_.push_back({view,
                            0,
                            segments.size(),
                            views_[view].stride == 2 ? kUnsignedShort : kUnsignedInt,
                            false,
                            false,
                            {}});
    }
  }
  bodies_.push_back(std::move(body));
  return found->second;
}

void GltfMeshes::AddFloats(const GRepMesh& mesh, Body& body) {
  const glm::dvec3 size = mesh.box.GetMax() - mesh.box.GetMin();
  const glm::dvec3 away = glm::abs(mesh.gridOrigin);
  const bool isFar = std::max({away.x, away.y, away.z}) > kFar * std::max({size.x, size.y, size.z});
  const glm::dvec3 origin = isFar ? mesh.gridOrigin : glm::dvec3(0.0);
  std::vector<glm::vec3> points(mesh.GetVertexCount());
  mesh.CopyPositions(&points[0].x, 3, origin);
  View view;
  view.count = points.size();
  view.stride = sizeof(glm::vec3);
  view.mode = "ATTRIBUTES";
  view.isVertices = true;
  body.placement = glm::translate(glm::dmat4(1.0), origin);
  body.positions = static_cast<std::uint32_t>(accessors_.size());
  accessors_.push_back(
      {AddView(view, points.data()), 0, points.size(), kFloat, false, true, FindRange(points)});
}

// The grid of the record as it is: nothing is rounded a second time.
void GltfMeshes::AddIntegers(const GRepMesh& mesh, Body& body) {
  std::vector<glm::u16vec4> points;
  points.reserve(mesh.vertices.size());
  for (const GRepVertex& vertex : mesh.vertices) {
    points.emplace_back(vertex.x, vertex.y, vertex.z, 0);
  }
  View view;
  view.count = points.size();
  view.stride = sizeof(glm::u16vec4);
  view.mode = "ATTRIBUTES";
  view.isVertices = true;
  body.placement = glm::scale(glm::translate(glm::dmat4(1.0), mesh.gridOrigin), glm::dvec3(mesh.gridStep));
  body.positions = static_cast<std::uint32_t>(accessors_.size());
  accessors_.push_back({AddView(view, points.data()), 0, points.size(), kUnsignedShort, false, true,
                        FindRange(mesh.vertices)});
}

void GltfMeshes::AddNormals(const GRepMesh& mesh, Body& body) {
  View view;
  view.count = mesh.GetVertexCount();
  view.mode = "ATTRIBUTES";
  view.isVertices = true;
  body.normals = static_cast<std::uint32_t>(accessors_.size());
  if (!options_.compress) {
    std::vector<glm::vec3> normals(mesh.GetVertexCount());
    mesh.CopyNormals(&normals[0].x);
    view.stride = sizeof(glm::vec3);
    accessors_.push_back({AddView(view, normals.data()), 0, normals.size(), kFloat, false, true, {}});
    return;
  }
  // The octahedral form of the record is what the filter undoes; the third number says what 1 is.
  std::vector<glm::i8vec4> normals;
  normals.reserve(mesh.GetVertexCount());
  const auto add = [&normals](const auto& vertices) {
    for (const auto& vertex : vertices) {
      normals.emplace_back(std::max<int>(vertex.nx, -127), std::max<int>(vertex.ny, -127), 127, 0);
    }
  };
  add(mesh.vertices);
  add(mesh.fineVertices);
  view.stride = sizeof(glm::i8vec4);
  view.filter = "OCTAHEDRAL";
  accessors_.push_back({AddView(view, normals.data()), 0, normals.size(), kByte, true, true, {}});
}

void GltfMeshes::AddTriangles(const BrepSceneNode& node, Mesh& mesh) {
  const GRepMesh& drawn = node.GetGRep()->GetMesh();
  std::vector<std::uint32_t> indices;
  indices.reserve(drawn.triangles.size());
  const std::size_t first = accessors_.size();
  for (const ColorGroup& group : GroupFaces(node, options_.faces)) {
    const std::size_t begin = indices.size();
    for (const std::uint32_t face : group.faces) {
      const auto from = drawn.triangles.begin() + drawn.faces[face].firstIndex;
      indices.insert(indices.end(), from, from + drawn.faces[face].indexCount);
    }
    mesh.primitives.push_back({static_cast<std::uint32_t>(accessors_.size()), FindMaterial(group.color),
                               false,
                               options_.faces ? std::optional<std::uint32_t>(group.faces[0]) : std::nullopt});
    accessors_.push_back({0, begin, indices.size() - begin, 0, false, false, {}});
  }
  if (indices.empty()) {
    return;
  }
  const std::uint32_t view = AddIndices(indices, drawn.GetVertexCount(), true);
  for (std::size_t i = first; i < accessors_.size(); ++i) {
    accessors_[i].view = view;
    accessors_[i].componentType = views_[view].stride == 2 ? kUnsignedShort : kUnsignedInt;
  }
}

std::uint32_t GltfMeshes::AddIndices(const std::vector<std::uint32_t>& indices, std::size_t vertexCount,
                                     bool isTriangles) {
  View view;
  view.count = indices.size();
  view.mode = isTriangles ? "TRIANGLES" : "INDICES";
  view.stride = vertexCount <= kMostShortVertices ? 2 : 4;
  if (view.stride == 4 || options_.compress) {
    return AddView(view, indices.data());
  }
  const std::vector<std::uint16_t> shorts(indices.begin(), indices.end());
  return AddView(view, shorts.data());
}

std::uint32_t GltfMeshes::AddView(View view, const void* data) {
  bytes_.resize(Align(bytes_.size()));
  view.offset = bytes_.size();
  if (!options_.compress) {
    view.size = view.count * view.stride;
    bytes_.append(static_cast<const char*>(data), view.size);
  } else {
    const auto* const indices = static_cast<const unsigned int*>(data);
    const auto grow = [&](std::size_t bound) {
      bytes_.resize(view.offset + bound);
      return reinterpret_cast<unsigned char*>(bytes_.data()) + view.offset;
    };
    // The versions that the extension knows; each call sets the same.
    meshopt_encodeVertexVersion(0);
    meshopt_encodeIndexVersion(1);
    if (view.isVertices) {
      const std::size_t bound = meshopt_encodeVertexBufferBound(view.count, view.stride);
      view.size = meshopt_encodeVertexBuffer(grow(bound), bound, data, view.count, view.stride);
    } else if (std::strcmp(view.mode, "TRIANGLES") == 0) {
      const std::size_t bound = meshopt_encodeIndexBufferBound(view.count, kMostShortVertices << 16);
      view.size = meshopt_encodeIndexBuffer(grow(bound), bound, indices, view.count);
    } else {
      const std::size_t bound = meshopt_encodeIndexSequenceBound(view.count, kMostShortVertices << 16);
      view.size = meshopt_encodeIndexSequence(grow(bound), bound, indices, view.count);
    }
    bytes_.resize(view.offset + view.size);
  }
  views_.push_back(view);
  return static_cast<std::uint32_t>(views_.size() - 1);
}

std::uint32_t GltfMeshes::FindMaterial(const glm::vec3& color) {
  const auto [found, isNew] =
      materialOf_.try_emplace({color.r, color.g, color.b}, static_cast<std::uint32_t>(materials_.size()));
  if (isNew) {
    materials_.push_back(color);
  }
  return found->second;
}

void GltfMeshes::AddPrimitives(JsonText& json, const Body& body, const Mesh& mesh) {
  json.Key("primitives");
  json.BeginArray();
  for (const Primitive& primitive : mesh.primitives) {
    json.BeginObject();
    json.Key("attributes");
    json.BeginObject();
    json.Key("POSITION");
    json.Unsigned(body.positions);
    if (!primitive.isLines) {
      json.Key("NORMAL");
      json.Unsigned(body.normals);
    }
    json.EndObject();
    json.Key("indices");
    json.Unsigned(primitive.indices);
    json.Key("material");
    json.Unsigned(primitive.material);
    if (primitive.isLines) {
      json.Key("mode");
      json.Integer(kLinesMode);
    }
    if (primitive.face) {
      json.Key("extras");
      json.BeginObject();
      json.Key("face");
      json.Unsigned(*primitive.face);
      json.EndObject();
    }
    json.EndObject();
  }
  json.EndArray();
}

void GltfMeshes::AddMaterials(JsonText& json) const {
  json.Key("materials");
  json.BeginArray();
  for (const glm::vec3& color : materials_) {
    json.BeginObject();
    json.Key("pbrMetallicRoughness");
    json.BeginObject();
    json.Key("baseColorFactor");
    json.BeginArray();
    for (int i = 0; i < 3; ++i) {
      json.Number(Srgb::ToLinear(std::clamp(static_cast<double>(color[i]), 0.0, 1.0)));
    }
    json.Number(1.0);
    json.EndArray();
    json.Key("metallicFactor");
    json.Number(0.0);
    json.Key("roughnessFactor");
    json.Number(kRoughness);
    json.EndObject();
    // Sheets have two sides.
    json.Key("doubleSided");
    json.Bool(true);
    json.EndObject();
  }
  json.EndArray();
}

void GltfMeshes::AddAccessors(JsonText& json) const {
  json.Key("accessors");
  json.BeginArray();
  for (const Accessor& accessor : accessors_) {
    json.BeginObject();
    json.Key("bufferView");
    json.Unsigned(accessor.view);
    if (accessor.first > 0) {
      json.Key("byteOffset");
      json.Unsigned(accessor.first * views_[accessor.view].stride);
    }
    json.Key("componentType");
    json.Integer(accessor.componentType);
    if (accessor.isNormalized) {
      json.Key("normalized");
      json.Bool(true);
    }
    json.Key("count");
    json.Unsigned(accessor.count);
    json.Key("type");
    json.Text(accessor.isVector ? "VEC3" : "SCALAR");
    if (accessor.range) {
      json.Key("min");
      json.Numbers(glm::value_ptr((*accessor.range)[0]), 3);
      json.Key("max");
      json.Numbers(glm::value_ptr((*accessor.range)[1]), 3);
    }
    json.EndObject();
  }
  json.EndArray();
}

void GltfMeshes::AddBuffers(JsonText& json, const std::string& uri) const {
  json.Key("bufferViews");
  json.BeginArray();
  std::uint64_t plain = 0;
  for (const View& view : views_) {
    json.BeginObject();
    json.Key("buffer");
    json.Unsigned(options_.compress ? 1 : 0);
    json.Key("byteOffset");
    json.Unsigned(options_.compress ? plain : view.offset);
    json.Key("byteLength");
    json.Unsigned(view.count * view.stride);
    if (view.isVertices) {
      json.Key("byteStride");
      json.Unsigned(view.stride);
    }
    json.Key("target");
    json.Integer(view.isVertices ? kVertexTarget : kIndexTarget);
    if (options_.compress) {
      json.Key("extensions");
      json.BeginObject();
      json.Key("EXT_meshopt_compression");
      json.BeginObject();
      json.Key("buffer");
      json.Unsigned(0);
      json.Key("byteOffset");
      json.Unsigned(view.offset);
      json.Key("byteLength");
      json.Unsigned(view.size);
      json.Key("byteStride");
      json.Unsigned(view.stride);
      json.Key("count");
      json.Unsigned(view.count);
      json.Key("mode");
      json.Text(view.mode);
      if (view.filter[0] != 0) {
        json.Key("filter");
        json.Text(view.filter);
      }
      json.EndObject();
      json.EndObject();
    }
    json.EndObject();
    plain += Align(view.count * view.stride);
  }
  json.EndArray();
  json.Key("buffers");
  json.BeginArray();
  json.BeginObject();
  json.Key("byteLength");
  json.Unsigned(bytes_.size());
  if (!uri.empty()) {
    json.Key("uri");
    json.Text(uri);
  }
  json.EndObject();
  if (options_.compress) {
    // What the views would be without compression. Nobody writes it.
    json.BeginObject();
    json.Key("byteLength");
    json.Unsigned(plain);
    json.Key("extensions");
    json.BeginObject();
    json.Key("EXT_meshopt_compression");
    json.BeginObject();
    json.Key("fallback");
    json.Bool(true);
    json.EndObject();
    json.EndObject();
    json.EndObject();
  }
  json.EndArray();
}

void GltfMeshes::AddTo(JsonText& json, const std::string& uri) const {
  json.Key("meshes");
  json.BeginArray();
  for (const Mesh& mesh : meshes_) {
    const Body& body = bodies_[mesh.body];
    json.BeginObject();
    AddPrimitives(json, body, mesh);
    json.Key("extras");
    json.BeginObject();
    json.Key("body");
    json.Text(body.grep->GetBodyId().toString());
    json.EndObject();
    json.EndObject();
  }
  json.EndArray();
  AddMaterials(json);
  AddAccessors(json);
  AddBuffers(json, uri);
}

}  // namespace mirel

#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace mirel {

class BrepSceneNode;
class FacePalette;
class GRepShape;
class JsonText;
struct GRepMesh;

struct GltfOptions {
  bool edges = false;     ///< lines, as an engineer draws them
  bool faces = false;     ///< a primitive for each face instead of one for each colour
  bool compress = false;  ///< `EXT_meshopt_compression` of positions as integers
};

/// What a glTF file holds of bodies: meshes, materials, and the bytes behind them. Every body is written once, every body in
/// other colours has a mesh of its own that shares its vertices.
///
/// Source: glTF 2.0, sections 3.6 (buffers), 3.7 (meshes) and 3.9 (materials); the extensions
/// `KHR_mesh_quantization` and `EXT_meshopt_compression` as the Khronos registry has them.
class GltfMeshes {
 public:
  explicit GltfMeshes(const GltfOptions& options) : options_(options) {}

  /// The number of the mesh that a node draws; nothing when its body has no triangles and no lines.
  std::optional<std::uint32_t> Find(const BrepSceneNode& node);

  /// From the coordinates of a mesh's positions to those of its body.
  glm::dmat4 GetMeshPlacement(std::uint32_t mesh) const;

  bool IsEmpty() const { return meshes_.empty(); }

  /// Adds the members "meshes", "materials", "accessors", "bufferViews" and "buffers" to an object, which must be
  /// open. `uri` names the file of the bytes, and is empty when they stand in the same file.
  void AddTo(JsonText& json, const std::string& uri) const;

  const std::string& GetBytes() const { return bytes_; }

 private:
  /// Bytes of the file, and what is in them.
  struct View {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;  ///< as in the file
    std::uint64_t count = 0;
    std::uint32_t stride = 0;  ///< of one of `count`; a vertex view is interleaved so
    const char* mode = "";     ///< of the compression
    const char* filter = "";
    bool isVertices = false;
  };
  struct Accessor {
    std::uint32_t view = 0;
    std::uint64_t first = 0;  ///< element of the view
    std::uint64_t count = 0;
    int componentType = 0;
    bool isNormalized = false;
    bool isVector = false;
    std::optional<std::array<glm::dvec3, 2>> range;  ///< least and largest
  };
  struct Primitive {
    std::uint32_t indices = 0;
    std::uint32_t material = 0;
    bool isLines = false;
    std::optional<std::uint32_t> face;
  };
  /// The vertices of a body.
  struct Body {
    std::shared_ptr<const GRepShape> grep;  ///< kept, so that no other gets its address
    std::uint32_t positions = 0, normals = 0;
    glm::dmat4 placement{1.0};
    std::optional<std::uint32_t> lines;
  };
  struct Mesh {
    std::uint32_t body = 0;
    std::shared_ptr<const FacePalette> palette;
    std::vector<Primitive> primitives;
  };

  std::uint32_t FindBody(const BrepSceneNode& node);
  void AddFloats(const GRepMesh& mesh, Body& body);
  void AddIntegers(const GRepMesh& mesh, Body& body);
  void AddNormals(const GRepMesh& mesh, Body& body);
  void AddTriangles(const BrepSceneNode& node, Mesh& mesh);
  std::uint32_t AddIndices(const std::vector<std::uint32_t>& indices, std::size_t vertexCount,
                           bool isTriangles);
  std::uint32_t AddView(View view, const void* data);
  std::uint32_t FindMaterial(const glm::vec3& color);

  static void AddPrimitives(JsonText& json, const Body& body, const Mesh& mesh);
  void AddMaterials(JsonText& json) const;
  void AddAccessors(JsonText& json) const;
  void AddBuffers(JsonText& json, const std::string& uri) const;

  using MeshKey = std::tuple<std::uint32_t, const FacePalette*, float, float, float>;

  const GltfOptions options_;
  std::string bytes_;
  std::vector<View> views_;
  std::vector<Accessor> accessors_;
  std::vector<glm::vec3> materials_;
  std::vector<Body> bodies_;
  std::vector<Mesh> meshes_;
  std::map<const GRepShape*, std::uint32_t> bodyOf_;
  std::map<MeshKey, std::uint32_t> meshOf_;
  std::map<std::tuple<float, float, float>, std::uint32_t> materialOf_;
};

}  // namespace mirel

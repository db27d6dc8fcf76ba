#pragma once

#include <Programs/mirel/Export/GltfMeshes.h>

#include <cstdint>
#include <string>

namespace mirel {

class SceneNode;

/// A model as glTF 2.0: the tree with its names and ids, placed bodies that share their meshes, in metres, y upwards.
///
/// Nothing is tessellated: triangles are those of the graphics.
class GltfWriter {
 public:
  /// What is visible below `root`, itself included.
  GltfWriter(const SceneNode& root, const GltfOptions& options);

  /// The file as one piece (.glb). False when it would be larger than the format allows, 4 GiB.
  bool MakeBinary(std::string& file) const;

  /// The file as text (.gltf), and the bytes that belong beside it under the name `uri`.
  std::string MakeText(const std::string& uri) const;
  const std::string& GetBytes() const { return meshes_.GetBytes(); }

  /// How many nodes could not be put where they stand; all below them is left out too.
  std::uint64_t CountLeftOut() const { return leftOut_; }
  std::uint64_t CountPlacedBodies() const { return placedBodies_; }

 private:
  struct Node {
    const SceneNode* source;
    glm::dmat4 placement;
    std::optional<glm::dmat4> inner;  // of the node in it that has the rest, when one cannot place like that
    bool isInner = false;             // such a node, which has no name of its own
    std::optional<std::uint32_t> mesh;
    std::uint32_t firstChild = 0, childCount = 0;
  };

  void AddChild(const SceneNode& source, const glm::dmat4& parent);
  void AddNode(JsonText& json, const Node& node) const;

  const GltfOptions options_;
  GltfMeshes meshes_;
  std::vector<Node> nodes_;  // breadth first, so that children follow each other
  std::uint64_t leftOut_ = 0;
  std::uint64_t placedBodies_ = 0;
};

}  // namespace mirel

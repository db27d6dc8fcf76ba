#pragma once

#include <Programs/mirel/Diff/BodyStore.h>

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/mat4x4.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mirel {

class BrepSceneNode;
class GRepShape;
class SceneNode;

/// In place of a number of a node, a part or a body that there is none of.
constexpr std::uint32_t kNothing = 0xFFFFFFFFu;

/// A node of one of two versions that are compared. A group with a single child of its own name is one node with it: whether
/// there are two depends on how often a product is placed, and on nothing that anybody has drawn.
struct ComparedNode {
  const SceneNode* node = nullptr;      ///< the outermost
  const BrepSceneNode* body = nullptr;  ///< null for a group
  std::uint32_t parent = kNothing;
  std::uint32_t childCount = 0;
  std::uint32_t position = 0;           ///< of `node` among the scene nodes beside it
  std::uint32_t foldedLevels = 0;       ///< how many scene nodes below `node` are one with it
  std::uint32_t bodyNumber = kNothing;  ///< in `ComparedModel::GetBodies`
  std::uint64_t name = 0;               ///< a hash
  std::uint64_t path = 0;               ///< a hash of all names down to it, equal ones in a row once
  glm::dmat4 placement{1.0};            ///< from its own coordinates to those of the scene
};

/// One of the versions that are compared: its nodes, and the bodies that they show.
class ComparedModel {
 public:
  /// A body that some node shows.
  struct Body {
    ObjectId id;
    std::shared_ptr<const GRepShape> graphics;
  };

  /// Takes the nodes, of which the root stands for the folder. Both are kept.
  ComparedModel(std::shared_ptr<const SceneNode> root, const BodyStore& store);

  /// Parents before their children, in the order of the tree; the root is the first.
  const std::vector<ComparedNode>& GetNodes() const { return nodes_; }
  const ComparedNode& GetNode(std::uint32_t number) const { return nodes_[number]; }
  /// The nodes that show a body.
  const std::vector<std::uint32_t>& GetParts() const { return parts_; }
  const std::vector<Body>& GetBodies() const { return bodies_; }
  const BodyStore& GetStore() const { return store_; }

  /// What a node and all below it draws, in the scene.
  const AABoxT<double>& GetBox(std::uint32_t node) const { return boxes_[node]; }
  /// The middle of that; where the node is when nothing is drawn.
  glm::dvec3 GetMiddle(std::uint32_t node) const;

  /// The names from the top level down to a node, equal ones in a row once.
  std::vector<std::string> GetPath(std::uint32_t node) const;
  /// The ids of all scene nodes from the top level down to it.
  std::vector<std::uint64_t> GetIds(std::uint32_t node) const;
  /// The positions of these scene nodes among those beside them: the way down to it, whatever ids are worth.
  std::vector<std::uint32_t> GetPositions(std::uint32_t node) const;

 private:
  void Gather();
  void MakeBoxes();

  std::shared_ptr<const SceneNode> root_;
  const BodyStore& store_;
  std::vector<ComparedNode> nodes_;
  std::vector<std::uint32_t> parts_;
  std::vector<Body> bodies_;
  std::vector<AABoxT<double>> boxes_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Draw/DrawExport.h>
#include <Viewer/Draw/DrawPalette.h>
#include <Viewer/Draw/NodeVisibility.h>
#include <Viewer/Draw/PlacementList.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/glm.hpp>
#include <glm/mat4x3.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace mirel {

class GRepShape;
class SceneNode;

/// Bodies that are drawn with one call: the same graphics in the same colours, at many places.
struct DrawBatch {
  std::shared_ptr<const GRepShape> grep;  ///< never empty; has triangles, but for `DrawScene::GetWires`
  std::shared_ptr<const DrawPalette> palette;
  bool ghost = false;  ///< see `NodeVisibility::Look`
  /// The scene's number of the first placement; the others follow.
  std::uint32_t first = 0;
  /// From the body's coordinates to those of the scene, in mm, column by column. Finite and invertible; may mirror,
  /// scale and shear.
  PlacementList placements;
  /// For each placement, its body's position in `DrawScene::GetNodes`.
  std::vector<std::uint32_t> nodes;
};

/// A node of the tree that the scene was made of.
struct DrawNode {
  /// `parent` of a root.
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  const SceneNode* node;  ///< only to be looked into while the caller keeps the tree
  std::uint32_t parent;   ///< position in `DrawScene::GetNodes`
};

/// What is to be drawn of trees of scene nodes, as batches. A picture of the moment: what happens to the nodes
/// afterwards does not show, and they may go. The graphics are shared with them, not copied.
///
/// A *placement* is one body at one place. Its number counts the placements of all batches, in their order.
///
/// Thread safety: never changes once made, so any number of threads may use it.
class MIREL_DRAW_API DrawScene {
 public:
  /// Gathers all bodies below `root` (itself included) that have triangles or edges and are not hidden. Left out are bodies
  /// that cannot be drawn where they stand, since their placement is not finite, flattens them or puts them farther
  /// from the origin than `kMaxCoordinate`; one notice (level 1) says how many. At most `kMaxPlacements` are gathered.
  explicit DrawScene(const SceneNode& root, const NodeVisibility& visibility = NodeVisibility());
  /// In place of all colours of a body and its faces.
  using BodyColor = std::function<glm::vec3(const BrepSceneNode& node)>;
  /// The same below several roots, such as the top-level nodes of a `Scene`, in other colours if there is a function that
  /// gives them.
  explicit DrawScene(const std::vector<std::shared_ptr<SceneNode>>& roots,
                     const NodeVisibility& visibility = NodeVisibility(), const BodyColor& color = nullptr);
  ~DrawScene();

  DrawScene(const DrawScene&) = delete;
  DrawScene& operator=(const DrawScene&) = delete;

  /// Coordinates in mm: the square still fits into single precision.
  static constexpr double kMaxCoordinate = 1e12;
  static constexpr std::uint32_t kMaxPlacements = 100000000;

  const std::vector<DrawBatch>& GetBatches() const { return batches_; }
  /// Bodies that have edges but no triangles, such as wires, batched likewise. They are drawn as lines; rays do not meet
  /// them, so their placements have no numbers, and `first` is 0.
  const std::vector<DrawBatch>& GetWires() const { return wires_; }
  std::uint32_t GetPlacementCount() const { return placementCount_; }

  /// The batch of a placement, which must be one of the scene's.
  const DrawBatch& GetBatch(std::uint32_t placement) const;
  glm::dmat4x3 GetPlacement(std::uint32_t placement) const;
  /// The ways in which placements and wires are turned, see `PlacementList::GetTurnNumber`.
  const PlacementTurns& GetTurns() const { return *turns_; }

  /// All nodes that were visited, parents before their children; a root is the first.
  const std::vector<DrawNode>& GetNodes() const { return nodes_; }
  /// The nodes from the root to a placement's body.
  std::vector<const SceneNode*> GetPath(std::uint32_t placement) const;

  /// The corners of a placed body's own box in scene coordinates: tighter around it than `GetBox` where it is turned.
  std::array<glm::dvec3, 8> GetCorners(std::uint32_t placement) const;
  /// The same for one of the placements of a batch or of wires.
  static std::array<glm::dvec3, 8> GetCorners(const DrawBatch& batch, std::size_t number);
  /// The box of one placement's body in scene coordinates: around the eight corners of its own box.
  AABoxT<double> GetBox(std::uint32_t placement) const;
  /// The box of all placements and wires; empty when there are none.
  const AABoxT<double>& GetBox() const { return box_; }

  /// The same scene with each placement moved by `factor` times its offset in `offsets` (mm, scene coordinates): for rays and
  /// pictures of what `Explosion` takes apart. Placements keep their numbers; those without an offset stay, and so do wires and
  /// those whose offset would lead beyond `kMaxCoordinate` or is not finite.
  std::shared_ptr<const DrawScene> Move(const std::vector<glm::vec3>& offsets, double factor = 1.0) const;

  /// How many bodies could not be drawn where they stand.
  std::uint32_t GetLeftOutCount() const { return leftOut_; }

 private:
  class Gathering;

  DrawScene() = default;

  std::shared_ptr<PlacementTurns> turns_ = std::make_shared<PlacementTurns>();
  std::vector<DrawBatch> batches_, wires_;
  std::vector<DrawNode> nodes_;
  AABoxT<double> box_;
  std::uint32_t placementCount_ = 0;
  std::uint32_t leftOut_ = 0;
};

}  // namespace mirel

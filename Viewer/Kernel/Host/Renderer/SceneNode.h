#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Graphics/GfxObject.h>

#include <glm/mat4x4.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace mirel {

class GroupSceneNode;

/// What a node is, for those who walk over many and would cast each.
enum class SceneNodeKind : std::uint8_t {
  kGroup,  ///< a `GroupSceneNode`
  kBrep,   ///< a `BrepSceneNode`
  kOther   ///< whatever else a host has derived
};

/// What has happened to a node; see `Scene::AddListener`.
enum class SceneChange : std::uint8_t {
  kAdded,
  kRemoved,
  kPlacement,
  kColor,
  kVisibility,
  kOpacity,
  kHighlight
};

/// A node of the scene tree: a name, a number of the caller's, a placement, and how it is shown. Held by shared pointer.
///
/// Thread safety: as a standard container; one thread changes a node while no other uses it. To change a node counts as
/// changing the scene that it is in.
class MIREL_HOST_API SceneNode : public GfxObject {
 public:
  SceneNode();
  ~SceneNode() override;

  virtual SceneNodeKind GetKind() const { return SceneNodeKind::kOther; }

  /// The group that the node was added to last; null for a top-level node, and for one that is in no group.
  GroupSceneNode* GetParent() const;
  /// The nodes from the top level down to this one, which is the last.
  std::vector<const SceneNode*> GetPath() const;
  /// The product of the placements of all these: from the node's own space to that of the scene.
  glm::dmat4 GetScenePlacement() const;

  /// Placement relative to the parent node, in mm; the identity at first. Column-major: the translation is column 3.
  void SetTransform(const glm::dmat4& transform);
  /// Valid until another one is set or the node is given to a group.
  const glm::dmat4& GetTransform() const { return traits_->transform; }

  /// Whether the node is drawn, with all below it, where the groups around it are; true at first.
  void SetVisible(bool isVisible);
  bool IsVisible() const { return isVisible_; }

  /// Whether the node, with all below it, is to stand out, as what is selected does; false at first.
  void SetHighlighted(bool isHighlighted);
  bool IsHighlighted() const { return isHighlighted_; }

  /// How much the node, with all below it, hides of what lies behind, from 0 to 1, as at first; other values go to the
  /// nearest of both. A node in a group with an opacity has the product.
  void SetOpacity(float opacity);
  float GetOpacity() const { return opacity_; }

  /// A number that the node carries for its maker; 0 at first.
  void SetUserId(unsigned long long id) { ChangeTraits().userId = id; }
  unsigned long long GetUserId() const { return traits_->userId; }

  /// UTF-8; empty at first.
  void SetName(const std::string& name);
  /// Valid until another name is set or the node is given to a group. Nodes with the same long name share it.
  const std::string& GetName() const;

  /// The nodes below this one, in the order in which they were added; none for a node that holds none.
  virtual const std::vector<std::shared_ptr<SceneNode>>& GetNodes() const;

  /// Called when the node has been given to a group or a scene, its properties set: what it shares with other nodes is
  /// shared from then on: nodes of one item of a type take little more than their place in the tree. Setting properties
  /// stays allowed. Whoever overrides it calls it.
  virtual void Settle();

 protected:
  /// Tells the scene that the node is in, if it is in one.
  void NotifyOf(SceneChange change) const {
    if (parent_) PassOn(change);
  }

 private:
  friend class GroupSceneNode;
  using SharedName = std::shared_ptr<const std::string>;

  // What the nodes of one item have in common, in each instance of the type that it is in.
  struct Traits {
    glm::dmat4 transform{1.0};
    unsigned long long userId = 0;
    std::variant<std::string, SharedName> name;  // a short one needs no memory of its own

    Traits();
    Traits(const Traits& other);
    ~Traits();
    Traits& operator=(const Traits&) = delete;

    bool IsEqual(const Traits& other) const;
  };

  Traits& ChangeTraits();
  void PassOn(SceneChange change) const;

  bool isVisible_ = true;
  bool isHighlighted_ = false;
  bool ownsTraits_ = false;  // nobody else knows them; others are never changed again
  float opacity_ = 1.0f;
  GroupSceneNode* parent_ = nullptr;  // of a top-level node, the scene's root, which nobody sees
  std::shared_ptr<Traits> traits_;    // never empty
};

}  // namespace mirel

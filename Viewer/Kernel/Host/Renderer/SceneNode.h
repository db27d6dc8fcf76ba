#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Graphics/GfxObject.h>

#include <glm/mat4x4.hpp>

#include <memory>
#include <string>
#include <variant>

namespace mirel {

/// A node of the scene tree: a name, a number of the caller's and a placement. Held by shared pointer.
///
/// Thread safety: as a standard container; one thread changes a node while no other uses it.
class MIREL_HOST_API SceneNode : public GfxObject {
 public:
  SceneNode();
  ~SceneNode() override;

  /// Placement relative to the parent node, in mm; the identity at first. Column-major: the translation is column 3.
  void SetTransform(const glm::dmat4& transform) { transform_ = transform; }
  const glm::dmat4& GetTransform() const { return transform_; }

  /// A number that the node carries for its maker; 0 at first.
  void SetUserId(unsigned long long id) { userId_ = id; }
  unsigned long long GetUserId() const { return userId_; }

  /// UTF-8; empty at first.
  void SetName(const std::string& name);
  /// Valid until another name is set. Nodes with the same long name share it.
  const std::string& GetName() const;

  /// Called when the node has been given to a group or a scene, its properties set: what it shares with other nodes is
  /// shared from then on. Setting properties stays allowed.
  virtual void Settle() {}

 private:
  using SharedName = std::shared_ptr<const std::string>;

  glm::dmat4 transform_{1.0};
  unsigned long long userId_ = 0;
  std::variant<std::string, SharedName> name_;  // a short one needs no memory beside the node
};

}  // namespace mirel

#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <cstddef>
#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;

/// Which nodes of a scene are drawn, and how: all of them, unless something is said about them here.
///
/// Besides, what a node says of itself holds: one that is not visible is hidden, one that is not opaque a ghost.
/// What is said about a node holds for all below it. Hidden wins over ghosted, and both over what is shown alone.
/// Thread safety: as a standard container.
class MIREL_DRAW_API NodeVisibility {
 public:
  enum class Look {
    kSolid,   ///< drawn as it is
    kGhost,   ///< drawn as if made of glass; not picked, and in nobody's way
    kHidden,  ///< not drawn
  };

  void Hide(const SceneNode* node) { hidden_.insert(node); }
  void Ghost(const SceneNode* node) { ghosts_.insert(node); }
  /// From the first call on, only the nodes named so, those around them and what is ghosted is drawn.
  void ShowAlone(const SceneNode* node) { alone_.insert(node); }

  /// What is handed down from a node to those below it.
  struct Inherited {
    bool hidden = false;
    bool ghost = false;
    bool alone = false;
  };
  Inherited Inherit(const Inherited& above, const SceneNode& node) const;

  /// How a body is drawn whose node gave this.
  Look GetLook(const Inherited& own) const;

 private:
  std::unordered_set<const SceneNode*> hidden_;
  std::unordered_set<const SceneNode*> ghosts_;
  std::unordered_set<const SceneNode*> alone_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/View/EnumUpdateFlags.h>

#include <memory>

namespace mirel {

class Scene;

/// What one view shows and what it has still to draw. Used by one thread at a time.
class MIREL_HOST_API ViewContext {
 public:
  /// A context with a new, empty scene.
  ViewContext();
  ~ViewContext();

  ViewContext(const ViewContext&) = delete;
  ViewContext& operator=(const ViewContext&) = delete;

  /// The scene that the view shows; never empty.
  const std::shared_ptr<Scene>& GetScene() const { return scene_; }

  /// Asks for a redraw; the flags of several requests add up.
  void RequestUpdate(EnumUpdateFlags flags);

  /// The flags asked for since the last call, which are taken as done: what a render loop calls once a picture.
  EnumUpdateFlags TakeUpdate();

 private:
  std::shared_ptr<Scene> scene_;
  EnumUpdateFlags pending_ = UpdateNone;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Application/BaseApplication.h>

#include <cstdint>
#include <memory>

namespace mirel {

class Console;
struct Extras;
class Viewer;

/// A running application with one active viewer, as commands and loaders find it, except that nothing is drawn.
/// One at a time.
class WindowlessViewer {
 public:
  WindowlessViewer();
  ~WindowlessViewer();

  Viewer& GetViewer() { return *viewer_; }

  /// True as long as nothing was put into the scene.
  bool IsEmpty() const;

  /// Prints the nodes of all that was put into the scene, as `mirel tree` prints a folder's: what was added as
  /// a group is one import, and its root is not printed. False when stdout did not take all of it.
  /// Under JSON, extras follow the nodes if there are any.
  bool PrintScene(Console& console, bool json, std::uint64_t depth, const Extras* extras = nullptr);

 private:
  BaseApplication application_;
  std::shared_ptr<Viewer> viewer_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

namespace mirel {

class Viewer;

/// Where a command runs.
class MIREL_HOST_API CommandContext {
 public:
  /// `viewer` is not owned and must outlive the context.
  explicit CommandContext(Viewer* viewer);
  ~CommandContext();

  /// The viewer in which the command runs; null when the program has none.
  Viewer* GetViewer() const { return viewer_; }

 private:
  Viewer* viewer_;
};

}  // namespace mirel

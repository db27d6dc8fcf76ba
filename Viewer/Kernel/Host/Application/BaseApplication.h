#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <memory>

namespace mirel {

class Viewer;

/// The running application: at most one object of this class at a time. Used by one thread.
class MIREL_HOST_API BaseApplication {
 public:
  /// Makes this object the running application, in place of an earlier one.
  BaseApplication();
  /// There is no running application afterwards, unless another one has taken this one's place.
  virtual ~BaseApplication();

  BaseApplication(const BaseApplication&) = delete;
  BaseApplication& operator=(const BaseApplication&) = delete;

  /// The running application, or null.
  static BaseApplication* Get();

  /// The viewer that the user works in; empty at first.
  const std::shared_ptr<Viewer>& GetActiveViewer() const { return activeViewer_; }
  void SetActiveViewer(const std::shared_ptr<Viewer>& viewer) { activeViewer_ = viewer; }

 private:
  std::shared_ptr<Viewer> activeViewer_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/View/EnumUpdateFlags.h>
#include <Viewer/Kernel/Host/View/ViewContext.h>

namespace mirel {

/// A viewer: here, one view context and nothing that draws. Used by one thread at a time.
class MIREL_HOST_API Viewer {
 public:
  Viewer();
  ~Viewer();

  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;

  /// The viewer's context, owned by it; never null.
  ViewContext* GetContext() { return &context_; }

  /// As `ViewContext::RequestUpdate` on its context.
  void RequestUpdate(EnumUpdateFlags flags);

 private:
  ViewContext context_;
};

}  // namespace mirel

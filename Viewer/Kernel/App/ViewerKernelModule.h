#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>

namespace mirel {

/// Registers the stream model loader "Lite" in the host's registry. The module does that itself when it is loaded; a host
/// program that is linked to the module may call this to be sure that the module is there.
///
/// The first call in the process registers; one that comes meanwhile waits for it, and every later one does nothing. May
/// be called from any thread.
MIREL_VIEWER_KERNEL_API void RegisterViewerKernelModule();

}  // namespace mirel

#include <Viewer/Kernel/Host/Renderer/MaterialInstance.h>

namespace mirel {

MaterialInstance::~MaterialInstance() = default;

}  // namespace mirel

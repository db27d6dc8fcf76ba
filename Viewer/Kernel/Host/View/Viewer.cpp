#include <Viewer/Kernel/Host/View/Viewer.h>

namespace mirel {

Viewer::Viewer() = default;

Viewer::~Viewer() = default;

void Viewer::RequestUpdate(EnumUpdateFlags flags) {
  context_.RequestUpdate(flags);
}

}  // namespace mirel

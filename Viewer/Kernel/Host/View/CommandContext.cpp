#include <Viewer/Kernel/Host/View/CommandContext.h>

namespace mirel {

CommandContext::CommandContext(Viewer* viewer) : viewer_(viewer) {}

CommandContext::~CommandContext() = default;

}  // namespace mirel

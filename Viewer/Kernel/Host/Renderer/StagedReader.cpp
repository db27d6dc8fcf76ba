#include <Viewer/Kernel/Host/Renderer/StagedReader.h>

namespace mirel {

StagedReader::~StagedReader() = default;

StagedReader::Watcher::~Watcher() = default;

StagedReader::Stages::~Stages() = default;

}  // namespace mirel

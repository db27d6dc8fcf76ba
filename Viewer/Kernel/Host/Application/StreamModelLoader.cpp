#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>

namespace mirel {

StreamModelLoader::StreamModelLoader() = default;

StreamModelLoader::~StreamModelLoader() = default;

}  // namespace mirel

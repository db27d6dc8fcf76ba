#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>

namespace mirel {

StreamModelLoaderFactory::StreamModelLoaderFactory() = default;

StreamModelLoaderFactory::~StreamModelLoaderFactory() = default;

StreamModelLoaderFactory& StreamModelLoaderFactory::Instance() {
  // Never destroyed: the creators' code lies in modules that may be gone when static objects are destroyed.
  static StreamModelLoaderFactory* const instance = new StreamModelLoaderFactory;
  return *instance;
}

}  // namespace mirel

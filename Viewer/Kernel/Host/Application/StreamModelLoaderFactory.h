#pragma once

#include <Viewer/Kernel/Host/Application/MultiFactoryManagerT.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// The host's registry of stream model loaders by name.
class MIREL_HOST_API StreamModelLoaderFactory
    : public MultiFactoryManagerT<std::string, StreamModelLoader, UniquePointerPolicyT> {
 public:
  static StreamModelLoaderFactory& Instance();

 private:
  StreamModelLoaderFactory();
  ~StreamModelLoaderFactory();
};

}  // namespace mirel

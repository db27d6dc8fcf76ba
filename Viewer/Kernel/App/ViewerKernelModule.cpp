#include <Viewer/Kernel/App/ViewerKernelModule.h>

#include <Viewer/Kernel/App/ImportLiteModelCommand.h>
#include <Viewer/Kernel/App/LiteModelLoader.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>
#include <Viewer/Kernel/IO/LiteFolderReader.h>

#include <memory>
#include <mutex>

namespace mirel {

namespace {

void RegisterLoader() {
  StreamModelLoaderFactory::Instance().AddFactoryT<LiteModelLoader>("Lite");
}

// What the module gives to the host when it is loaded, in this order: objects of one translation unit are initialised
// from top to bottom. This file is a direct source of the shared library, so no linker can leave it out.

[[maybe_unused]] const bool g_loaderRegistered = [] {
  RegisterLoader();
  return true;
}();

[[maybe_unused]] const bool g_commandRegistered = [] {
  CommandManager::Instance().Register(std::make_shared<ImportLiteModelCommand>());
  return true;
}();

[[maybe_unused]] const bool g_readerRegistered = [] {
  SceneExchangeManager::Instance().AddReader(std::make_shared<LiteFolderReader>());
  return true;
}();

}  // namespace

void RegisterViewerKernelModule() {
  static std::once_flag once;
  std::call_once(once, RegisterLoader);
}

}  // namespace mirel

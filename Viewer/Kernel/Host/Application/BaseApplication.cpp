#include <Viewer/Kernel/Host/Application/BaseApplication.h>

#include <Viewer/Kernel/Host/View/Viewer.h>

namespace mirel {

namespace {

BaseApplication* g_application = nullptr;

}  // namespace

BaseApplication::BaseApplication() {
  g_application = this;
}

BaseApplication::~BaseApplication() {
  if (g_application == this) g_application = nullptr;
}

BaseApplication* BaseApplication::Get() {
  return g_application;
}

}  // namespace mirel

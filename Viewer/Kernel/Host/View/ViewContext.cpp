#include <Viewer/Kernel/Host/View/ViewContext.h>

#include <Viewer/Kernel/Host/Renderer/Scene.h>

namespace mirel {

ViewContext::ViewContext() : scene_(std::make_shared<Scene>()) {}

ViewContext::~ViewContext() = default;

void ViewContext::RequestUpdate(EnumUpdateFlags flags) {
  pending_ = static_cast<EnumUpdateFlags>(pending_ | flags);
}

EnumUpdateFlags ViewContext::TakeUpdate() {
  const EnumUpdateFlags flags = pending_;
  pending_ = UpdateNone;
  return flags;
}

}  // namespace mirel

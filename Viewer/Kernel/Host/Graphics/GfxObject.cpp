#include <Viewer/Kernel/Host/Graphics/GfxObject.h>

#include <atomic>

namespace mirel {

namespace {

unsigned int NextUuid() {
  static std::atomic<unsigned int> counter{0};
  unsigned int uuid = 0;
  while (uuid == 0)
    uuid = ++counter;
  return uuid;
}

}  // namespace

GfxObject::GfxObject() : uuid_(NextUuid()) {}

GfxObject::~GfxObject() = default;

}  // namespace mirel

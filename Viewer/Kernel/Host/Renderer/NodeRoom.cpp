#include <Viewer/Kernel/Host/Renderer/NodeRoom.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>

#include <atomic>

namespace mirel {

bool HasRoomForNode() {
  static std::atomic<bool> isLogged{false};
  if (!MemoryBudget::IsExceeded()) {
    if (isLogged && MemoryBudget::GetUsed() < MemoryBudget::GetLimit() / 2) isLogged = false;
    return true;
  }
  if (!isLogged.exchange(true)) {
    MIREL_HOST_FAILURE(
        "The scene would take more than the memory limit of %llu bytes: what does not fit is left out",
        static_cast<unsigned long long>(MemoryBudget::GetLimit()));
  }
  return false;
}

}  // namespace mirel

#include <Viewer/Kernel/Host/Core/HeldMessages.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

namespace mirel {

void HeldMessages::Collect(const std::function<void()>& work) {
  struct Restore {
    ~Restore() { Logger::HoldThread(before); }
    HeldMessages* before;
  };
  const Restore restore{Logger::HoldThread(this)};
  work();
}

void HeldMessages::Log() {
  for (const auto& [level, text] : messages_)
    Logger::Instance().Message(level, "%s", text.c_str());
  messages_.clear();
}

}  // namespace mirel

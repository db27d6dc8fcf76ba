#include <Python/Native/MessageQueue.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

namespace mirel::python {

MessageQueue& MessageQueue::Instance() {
  // Never destroyed: threads may still log while the process ends.
  static auto* const instance = new MessageQueue;
  return *instance;
}

MessageQueue::MessageQueue() {
  Logger::Instance().SetSink([this](int level, const std::string& text) { Add(level, text); });
}

void MessageQueue::Add(int level, const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (messages_.size() == kMaxKept) messages_.pop_front();
  messages_.emplace_back(level, text);
}

std::vector<std::pair<int, std::string>> MessageQueue::Take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::pair<int, std::string>> taken(messages_.begin(), messages_.end());
  messages_.clear();
  return taken;
}

}  // namespace mirel::python

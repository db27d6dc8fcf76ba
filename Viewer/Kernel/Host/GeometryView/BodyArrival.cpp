#include <Viewer/Kernel/Host/GeometryView/BodyArrival.h>

namespace mirel {

BodyArrival::BodyArrival() = default;

BodyArrival::~BodyArrival() = default;

void BodyArrival::Announce() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);  // so that nobody is between looking and waiting
  }
  changed_.notify_all();
}

void BodyArrival::End() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasEnded_ = true;
  }
  changed_.notify_all();
}

bool BodyArrival::HasEnded() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return hasEnded_;
}

void BodyArrival::WaitFor(const std::function<bool()>& isThere) const {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [&] { return hasEnded_ || isThere(); });
}

}  // namespace mirel

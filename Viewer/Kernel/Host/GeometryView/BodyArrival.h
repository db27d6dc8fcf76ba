#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <condition_variable>
#include <functional>
#include <mutex>

namespace mirel {

/// Exact bodies on their way to the graphics of a model: between the one who brings them (`GRepShape::SetShape`) and those who
/// wait for one (`GRepShape::WaitForShape`). Thread safe. An extra of this host.
class MIREL_HOST_API BodyArrival {
 public:
  BodyArrival();
  ~BodyArrival();

  BodyArrival(const BodyArrival&) = delete;
  BodyArrival& operator=(const BodyArrival&) = delete;

  /// Some have come: all who wait look whether theirs is among them.
  void Announce();
  /// No more will come: nobody waits any longer.
  void End();
  bool HasEnded() const;

  /// Waits until `isThere` is true or the end. It is called by this thread, at first and after each announcement.
  void WaitFor(const std::function<bool()>& isThere) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  bool hasEnded_ = false;
};

}  // namespace mirel

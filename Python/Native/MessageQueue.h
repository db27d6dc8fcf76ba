#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace mirel::python {

/// What the log of the process says, until Python asks for it: messages come from threads that Python knows nothing of, and that
/// must not wait for it. Thread safe.
class MessageQueue {
 public:
  /// The one queue of the process; it has the log from the first call on.
  static MessageQueue& Instance();

  void Add(int level, const std::string& text);
  /// Level and text of all that came since the last call, the oldest first. Of too many, the oldest are gone.
  std::vector<std::pair<int, std::string>> Take();

 private:
  static constexpr std::size_t kMaxKept = 10000;

  MessageQueue();

  std::mutex mutex_;
  std::deque<std::pair<int, std::string>> messages_;
};

}  // namespace mirel::python

#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace mirel {

class Console;

/// Listens to the log while it lives: failures become messages of the program, everything is counted.
///
/// A failure (level 3) is printed as "mirel: SUBJECT: text", or, where the text says little to a person, as a line that does
/// (`FailureWords`) with the text beneath; then come the notices (level 1) that led to it. The same failure is printed a few times only; the rest is counted.
/// Progress (level 2), other notices and location lines are printed under --verbose. Recorders nest: the
/// inner one listens.
class LogRecorder {
 public:
  LogRecorder(Console& console, std::string subject);
  /// Says how many messages were held back, and gives the log back to the one who had it.
  ~LogRecorder();

  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  /// The number of failures so far.
  std::size_t GetFailureCount() const;

  /// Each different failure with how often it came, in the order of their first appearance.
  std::vector<std::pair<std::string, std::size_t>> GetFailures() const;

 private:
  void Receive(int level, const std::string& text);

  Console& console_;
  const std::string subject_;
  mutable std::mutex mutex_;
  // Of each thread, since its last failure; the newest few.
  std::unordered_map<std::thread::id, std::vector<std::string>> notices_;
  std::vector<std::pair<std::string, std::size_t>> failures_;
  std::unordered_map<std::string, std::size_t> places_;  // text -> position in failures_
  std::size_t failureCount_ = 0;
  std::size_t printedCount_ = 0;
  Logger::Sink before_;
};

}  // namespace mirel

#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace mirel {

/// Listens to the log while a model is opened: failures become lines for a person. One at a time; it gives the log back.
class FailureLog {
 public:
  struct Failure {
    std::string file;
    std::string item;    ///< what of the file, or of the model; empty for all of it
    std::string reason;  ///< why, what is lost and what can be done
    std::string line;    ///< all of it as one

    friend bool operator==(const Failure& a, const Failure& b) { return a.line == b.line; }
  };

  /// `subject` is what the user called the model. `all` hears of every message besides.
  explicit FailureLog(std::string subject, Logger::Sink all = nullptr);
  ~FailureLog();

  FailureLog(const FailureLog&) = delete;
  FailureLog& operator=(const FailureLog&) = delete;

  /// The different failures so far, at most `kMaxKept`.
  std::vector<Failure> GetFailures() const;
  /// How many failures there were.
  std::size_t GetCount() const;

  static constexpr std::size_t kMaxKept = 200;

 private:
  void Receive(int level, const std::string& text);

  const std::string subject_;
  const Logger::Sink all_;
  mutable std::mutex mutex_;
  std::vector<std::string> notices_;  // since the last failure, the newest few
  std::vector<Failure> failures_;
  std::size_t count_ = 0;
  Logger::Sink before_;
};

}  // namespace mirel

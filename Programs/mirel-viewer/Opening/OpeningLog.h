#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <QStringList>

#include <mutex>
#include <string>
#include <vector>

namespace mirel {

/// Listens to the log while a model is opened: failures become lines for a person. One at a time; it gives the log back.
class OpeningLog {
 public:
  /// `subject` is what the user called the model.
  explicit OpeningLog(std::string subject);
  ~OpeningLog();

  OpeningLog(const OpeningLog&) = delete;
  OpeningLog& operator=(const OpeningLog&) = delete;

  /// The lines so far, of which the same is not said twice, at most `kMaxLines`.
  QStringList GetLines() const;
  /// How many failures there were.
  std::size_t GetFailureCount() const;

  static constexpr int kMaxLines = 200;

 private:
  void Receive(int level, const std::string& text);

  const std::string subject_;
  mutable std::mutex mutex_;
  std::vector<std::string> notices_;
  QStringList lines_;
  std::size_t failureCount_ = 0;
  Logger::Sink before_;
};

}  // namespace mirel

#include <Programs/mirel-viewer/Opening/OpeningLog.h>

#include <Programs/mirel/FailureWords.h>

#include <optional>
#include <utility>

namespace mirel {

namespace {

constexpr std::size_t kNoticesKept = 3;

}  // namespace

OpeningLog::OpeningLog(std::string subject) : subject_(std::move(subject)) {
  before_ = Logger::Instance().SetSink([this](int level, const std::string& text) { Receive(level, text); });
}

OpeningLog::~OpeningLog() {
  Logger::Instance().SetSink(before_);
}

QStringList OpeningLog::GetLines() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return lines_;
}

std::size_t OpeningLog::GetFailureCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failureCount_;
}

void OpeningLog::Receive(int level, const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (level < 3) {
    const bool isLocation = text.compare(0, 2, "\t#") == 0;
    if (level == 1 && !isLocation) {
      notices_.push_back(text);
      if (notices_.size() > kNoticesKept) {
        notices_.erase(notices_.begin());
      }
    }
    return;
  }
  ++failureCount_;
  const std::optional<FailureWords::Line> line = FailureWords::Explain(text, notices_, subject_);
  QString said = QString::fromStdString(line ? line->file + ": " + line->text : subject_ + ": " + text);
  if (!line && !notices_.empty()) {
    said += " (" + QString::fromStdString(notices_.back()) + ")";
  }
  if (lines_.size() < kMaxLines && !lines_.contains(said)) {
    lines_.append(said);
  }
  notices_.clear();
}

}  // namespace mirel

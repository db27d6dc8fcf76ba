#include <Programs/mirel/LogRecorder.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/FailureWords.h>
#include <Programs/mirel/Text/Plural.h>

#include <algorithm>

namespace mirel {

namespace {

constexpr std::size_t kNoticesKept = 3;
constexpr std::size_t kPrintedPerText = 3;
constexpr std::size_t kPrintedInAll = 20;
constexpr std::size_t kDifferentKept = 1000;

bool IsLocationLine(const std::string& text) {
  return text.compare(0, 2, "\t#") == 0;
}

}  // namespace

LogRecorder::LogRecorder(Console& console, std::string subject)
    : console_(console), subject_(std::move(subject)) {
  before_ = Logger::Instance().SetSink([this](int level, const std::string& text) { Receive(level, text); });
}

LogRecorder::~LogRecorder() {
  Logger::Instance().SetSink(before_);
  if (failureCount_ > printedCount_) {
    console_.Error(subject_,
                   Plural::Count(failureCount_ - printedCount_, "more message|messages of these kinds"));
  }
}

std::size_t LogRecorder::GetFailureCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failureCount_;
}

std::vector<std::pair<std::string, std::size_t>> LogRecorder::GetFailures() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failures_;
}

void LogRecorder::Receive(int level, const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string>& notices = notices_[std::this_thread::get_id()];
  if (level < 3) {
    if (level == 1 && !IsLocationLine(text)) {
      notices.push_back(text);
      if (notices.size() > kNoticesKept) {
        notices.erase(notices.begin());
      }
    }
    console_.Detail(text);
    return;
  }
  ++failureCount_;
  const auto [place, isNew] = places_.try_emplace(text, failures_.size());
  if (isNew) {
    if (failures_.size() >= kDifferentKept) {
      places_.erase(place);
      return;
    }
    failures_.emplace_back(text, 0);
  }
  const std::size_t count = ++failures_[places_.at(text)].second;
  if (count <= kPrintedPerText && printedCount_ < kPrintedInAll) {
    ++printedCount_;
    const std::optional<FailureWords::Line> line = FailureWords::Explain(text, notices, subject_);
    if (line) {
      console_.Error(line->file, line->text);
      console_.ErrorDetail(text);
      notices.resize(notices.size() - std::min(line->told, notices.size()));
    } else {
      console_.Error(subject_, text);
    }
    if (!console_.IsVerbose()) {
      for (const std::string& notice : notices) {
        console_.ErrorDetail(notice);
      }
    }
  }
  notices.clear();
}

}  // namespace mirel

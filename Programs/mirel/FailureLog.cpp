#include <Programs/mirel/FailureLog.h>

#include <Programs/mirel/FailureWords.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace mirel {

namespace {

constexpr std::size_t kNoticesKept = 3;

// What is between the item and what is said of it: "item 1 of 2, cannot be read", "shape 1 "NAME" has no graphics".
std::size_t SkipSeparator(const std::string& text, std::size_t at) {
  return at == 0 ? 0 : std::min(text.find_first_not_of(", ", at), text.size());
}

}  // namespace

FailureLog::FailureLog(std::string subject, Logger::Sink all)
    : subject_(std::move(subject)), all_(std::move(all)) {
  before_ = Logger::Instance().SetSink([this](int level, const std::string& text) { Receive(level, text); });
}

FailureLog::~FailureLog() {
  Logger::Instance().SetSink(before_);
}

std::vector<FailureLog::Failure> FailureLog::GetFailures() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return failures_;
}

std::size_t FailureLog::GetCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return count_;
}

void FailureLog::Receive(int level, const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (all_) {
    all_(level, text);
  }
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
  ++count_;
  Failure failure{subject_, "", text, ""};
  if (const auto said = FailureWords::Explain(text, notices_, subject_)) {
    failure = {said->file, said->text.substr(0, said->itemSize),
               said->text.substr(SkipSeparator(said->text, said->itemSize)), said->file + ": " + said->text};
  } else {
    failure.reason += notices_.empty() ? "" : " (" + notices_.back() + ")";
    failure.line = subject_ + ": " + failure.reason;
  }
  if (failures_.size() < kMaxKept &&
      std::find(failures_.begin(), failures_.end(), failure) == failures_.end()) {
    failures_.push_back(std::move(failure));
  }
  notices_.clear();
}

}  // namespace mirel

#include <Programs/mirel/LogNotes.h>

#include <utility>

namespace mirel {

LogNotes::LogNotes() {
  before_ = Logger::Instance().SetSink([this](int, const std::string& text) {
    if (text.compare(0, 2, "\t#") != 0) {
      last_ = text;
    }
  });
}

LogNotes::~LogNotes() {
  Logger::Instance().SetSink(before_);
}

std::string LogNotes::Take() {
  if (!last_.empty() && last_.back() == '.') {
    last_.pop_back();
  }
  return std::exchange(last_, std::string());
}

std::string LogNotes::TakeReason(const std::string& path) {
  const std::string reason = Take();
  const std::string before = "Cannot read " + path + ": ";
  return reason.compare(0, before.size(), before) == 0 ? reason.substr(before.size()) : reason;
}

}  // namespace mirel

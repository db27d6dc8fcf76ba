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

}  // namespace mirel

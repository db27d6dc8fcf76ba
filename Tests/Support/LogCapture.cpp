#include <Tests/Support/LogCapture.h>

#include <gtest/gtest.h>

#include <regex>

namespace mirel {

namespace {

bool IsLocation(const LogCapture::Entry& entry) {
  static const std::regex pattern("\t#[0-9]+, [A-Za-z0-9_]+\\.(cpp|h)");
  return entry.first == 1 && std::regex_match(entry.second, pattern);
}

}  // namespace

LogCapture::LogCapture() {
  before_ = Logger::Instance().SetSink(
      [this](int level, const std::string& text) { entries_.emplace_back(level, text); });
}

LogCapture::~LogCapture() {
  Logger::Instance().SetSink(std::move(before_));
  Clear();
}

void LogCapture::Clear() {
  EXPECT_TRUE(HasLocations());
  entries_.clear();
}

std::vector<std::string> LogCapture::GetTexts(int level) const {
  std::vector<std::string> texts;
  for (const Entry& entry : entries_) {
    if (entry.first == level && !IsLocation(entry)) texts.push_back(entry.second);
  }
  return texts;
}

int LogCapture::Count(int level, const std::string& text) const {
  int count = 0;
  for (const Entry& entry : entries_)
    count += entry.first == level && entry.second == text;
  return count;
}

bool LogCapture::Contains(const std::string& part) const {
  for (const Entry& entry : entries_) {
    if (entry.second.find(part) != std::string::npos) return true;
  }
  return false;
}

bool LogCapture::HasLocations() const {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].first == 3 && (i + 1 == entries_.size() || !IsLocation(entries_[i + 1]))) return false;
  }
  return true;
}

}  // namespace mirel

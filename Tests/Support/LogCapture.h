#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// Catches the logger's messages as long as it lives. When it is cleared and at its end, a test fails in which not every
/// failure was followed by its location line.
class LogCapture {
 public:
  using Entry = std::pair<int, std::string>;

  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<Entry>& GetEntries() const { return entries_; }
  /// The texts of one level in order, location lines left out.
  std::vector<std::string> GetTexts(int level) const;
  /// How often a message with this level and exact text came.
  int Count(int level, const std::string& text) const;
  bool Contains(const std::string& part) const;
  void Clear();

 private:
  bool HasLocations() const;

  std::vector<Entry> entries_;
  Logger::Sink before_;
};

}  // namespace mirel

#pragma once

#include <Programs/mirel/Batch/FileResult.h>
#include <Programs/mirel/Console.h>

#include <cstddef>
#include <map>
#include <string>

namespace mirel {

/// Tells what becomes of many files: to the console in the order of the list, to the log in the order in which they end.
class BatchReport {
 public:
  /// `json`: the report is the lines of the log.
  BatchReport(Console& console, std::size_t count, bool json);
  ~BatchReport();

  BatchReport(const BatchReport&) = delete;
  BatchReport& operator=(const BatchReport&) = delete;

  /// Has a line of JSON appended to a file for each result. False with a reason.
  bool OpenLog(const std::string& path, std::string& reason);

  void Add(std::size_t index, FileResult result);

  /// Moves the progress on.
  void ShowProgress();

  /// What came of all in one line, when all have ended. False when something of the report or the log could not be written.
  bool Conclude();

  std::size_t GetGoodCount() const { return good_; }
  std::size_t GetLossyCount() const { return lossy_; }

 private:
  void Tell(const FileResult& result);
  void Log(const FileResult& result);

  Console& console_;
  const std::size_t count_;
  const bool json_;
  Console::Progress progress_;
  std::FILE* log_ = nullptr;
  std::map<std::size_t, FileResult> held_;  // that have ended before others of the list
  std::size_t told_ = 0;
  std::size_t ended_ = 0;
  std::size_t good_ = 0;
  std::size_t lossy_ = 0;
  std::map<FileResult::Outcome, std::size_t> counts_;
  bool isWritten_ = true;
};

}  // namespace mirel

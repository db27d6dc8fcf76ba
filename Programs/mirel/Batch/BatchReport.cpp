#include <Programs/mirel/Batch/BatchReport.h>

#include <Programs/mirel/Text/Plural.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace mirel {

BatchReport::BatchReport(Console& console, std::size_t count, bool json)
    : console_(console), count_(count), json_(json), progress_(console, ProgressBar::Redraw::kByCaller) {}

BatchReport::~BatchReport() {
  if (log_ != nullptr) {
    std::fclose(log_);
  }
}

bool BatchReport::OpenLog(const std::string& path, std::string& reason) {
  std::error_code ignored;
  const std::filesystem::path file = std::filesystem::u8path(path);
  if (std::filesystem::is_directory(file, ignored)) {
    reason = "is a folder";
    return false;
  }
  log_ = std::fopen(path.c_str(), "ab");
  reason = log_ == nullptr ? std::generic_category().message(errno) : "";
  return log_ != nullptr;
}

void BatchReport::Add(std::size_t index, FileResult result) {
  ++ended_;
  ++counts_[result.outcome];
  good_ += result.IsGood() ? 1 : 0;
  lossy_ += result.hasLosses ? 1 : 0;
  Log(result);
  held_.emplace(index, std::move(result));
  for (auto next = held_.find(told_); next != held_.end(); next = held_.find(++told_)) {
    Tell(next->second);
    held_.erase(next);
  }
}

// In one piece, so that a line is there or not, whatever happens.
void BatchReport::Log(const FileResult& result) {
  if (log_ != nullptr) {
    const std::string line = result.ToJson();
    isWritten_ &= std::fwrite(line.data(), 1, line.size(), log_) == line.size();
    isWritten_ &= std::fflush(log_) == 0;
  }
}

void BatchReport::Tell(const FileResult& result) {
  if (json_) {
    isWritten_ &= console_.Data(result.ToJson());
  } else if (result.IsGood() && !console_.IsQuiet()) {
    isWritten_ &= console_.Data(result.ToText());
  }
  for (const std::string& message : result.messages) {
    console_.Relay(message);
  }
}

void BatchReport::ShowProgress() {
  progress_.GetBar().Begin(std::to_string(ended_) + "/" + std::to_string(count_));
  progress_.GetBar().SetFraction(count_ == 0 ? 1.0
                                             : static_cast<double>(ended_) / static_cast<double>(count_));
  progress_.GetBar().DrawNow();
}

bool BatchReport::Conclude() {
  progress_.GetBar().Clear();
  if (!json_ && !console_.IsQuiet()) {
    std::string line = Plural::Count(count_, "file|files");
    const char* separator = ": ";
    for (const auto& [outcome, count] : counts_) {
      line += separator + std::to_string(count) + " " + FileResult::GetName(outcome);
      separator = ", ";
    }
    isWritten_ &=
        console_.Data(line + (lossy_ > 0 ? "; " + std::to_string(lossy_) + " not all of it\n" : "\n"));
  }
  return isWritten_;
}

}  // namespace mirel

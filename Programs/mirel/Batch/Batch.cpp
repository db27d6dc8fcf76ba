#include <Programs/mirel/Batch/Batch.h>

#include <Programs/mirel/Batch/BatchReport.h>
#include <Programs/mirel/Batch/FileJob.h>
#include <Programs/mirel/CaughtFailure.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Import/ImportLibrary.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Save/FolderReplacement.h>
#include <Programs/mirel/Save/InterruptCleanup.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace mirel {

namespace {

using Outcome = FileResult::Outcome;

// What a conversion takes, roughly, so that not all that are large begin together.
constexpr std::uint64_t kLeastMemory = std::uint64_t{64} << 20;
constexpr std::uint64_t kMemoryPerByte = 12;
constexpr std::uint64_t kMemoryPerPackedByte = 80;

constexpr double kShareOfFree = 0.8;
constexpr std::size_t kMostMessages = 100;

std::uint64_t GuessMemory(const InputList::Input& input) {
  const bool isPacked = fs::u8path(input.file).extension() == ".gz";
  return kLeastMemory + input.bytes * (isPacked ? kMemoryPerPackedByte : kMemoryPerByte);
}

// Bytes that the system can give without swapping; the most that there is when it does not say.
std::uint64_t FreeMemory() {
  std::ifstream stream("/proc/meminfo");
  for (std::string line; std::getline(stream, line);) {
    std::istringstream words(line);
    std::string key;
    std::uint64_t kilobytes = 0;
    if (words >> key >> kilobytes && key == "MemAvailable:") {
      return kilobytes * 1024;
    }
  }
  return std::numeric_limits<std::uint64_t>::max();
}

// Has the libraries ready that the files need, so that no process has to load them again.
void LoadLibraries(const std::vector<InputList::Input>& inputs) {
  for (const SourceFile::Format format : {SourceFile::Format::kStep, SourceFile::Format::kIges}) {
    if (std::any_of(inputs.begin(), inputs.end(), [&](const InputList::Input& input) {
          return SourceFile::GetFormatByName(input.file) == format;
        })) {
      const ImportLibrary library(format);  // when it cannot be loaded, each file will say so
    }
  }
}

Outcome OutcomeOf(Crew::End end) {
  switch (end) {
  case Crew::End::kTimedOut:
    return Outcome::kTimedOut;
  case Crew::End::kOutOfMemory:
    return Outcome::kOutOfMemory;
  case Crew::End::kKilled:
    return Outcome::kKilled;
  default:
    return Outcome::kCrashed;
  }
}

std::string Megabytes(std::uint64_t bytes) {
  return std::to_string(bytes / 1'000'000) + " MB";
}

// What a command that is killed by the signal ends as.
[[noreturn]] void EndBySignal(int number) {
#if !defined(_WIN32)
  std::signal(number, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
  std::raise(number);
#endif
  std::_Exit(128 + number);
}

}  // namespace

Crew::Limits Batch::MakeLimits() const {
  Crew::Limits limits;
  limits.jobs = options_.jobs > 0 ? options_.jobs : std::max(1U, std::thread::hardware_concurrency());
  limits.seconds = options_.seconds;
  limits.memoryAll = options_.memory > 0
                         ? options_.memory
                         : static_cast<std::uint64_t>(kShareOfFree * static_cast<double>(FreeMemory()));
  limits.memoryEach =
      options_.memoryEach > 0 ? std::min(options_.memoryEach, limits.memoryAll) : limits.memoryAll;
  return limits;
}

std::string Batch::RunJob(const Console& console, const InputList::Input& input) const {
  InterruptCleanup::Install();
  Console::Options terms;
  terms.quiet = console.IsQuiet();
  terms.verbose = console.IsVerbose();
  Console own(terms);
  FileResult result;
  result.outcome = Outcome::kUnreadable;  // what it is after an exception
  CaughtFailure::Guard(own, input.file, [&] {
    FileJob job(options_.conversion, input);
    result = options_.check ? job.Check(own) : job.Convert(own);
    return ExitCode::kDone;
  });
  return result.ToReply();
}

FileResult Batch::MakeResult(const InputList::Input& input, const Crew::Result& ended) const {
  FileResult result;
  result.file = input.file;
  result.folder = input.folder;
  result.seconds = ended.seconds;
  result.memory = ended.memory;
  std::istringstream lines(ended.printed);
  for (std::string line; result.messages.size() < kMostMessages && std::getline(lines, line);) {
    if (!line.empty()) {
      result.messages.push_back(line);
    }
  }
  if (ended.end == Crew::End::kDone) {
    result.TakeReply(ended.reply);
    return result;
  }
  result.outcome = OutcomeOf(ended.end);
  const std::string before = "mirel: " + input.file + ": ";
  if (ended.end == Crew::End::kTimedOut) {
    std::ostringstream seconds;
    seconds << options_.seconds;
    result.messages.push_back(before + "stopped: it took more than " + seconds.str() +
                              " seconds (--time-limit)");
  } else if (ended.end == Crew::End::kOutOfMemory) {
    result.messages.push_back(
        before + "stopped: it needs more memory than it may have (--memory-limit, --memory); it had " +
        Megabytes(ended.memory));
  } else if (ended.end == Crew::End::kKilled) {
    result.messages.push_back(before + "was killed from outside, or by the system for want of memory");
  } else if (result.messages.empty()) {
    result.messages.push_back(before + "made the program crash; it is probably damaged");
  }
  return result;
}

ExitCode Batch::GetExitCode(std::size_t count, std::size_t good, std::size_t lossy) const {
  if (good == count) {
    return options_.strict && lossy > 0 ? ExitCode::kLosses : ExitCode::kDone;
  }
  if (options_.check) {
    return ExitCode::kDamaged;
  }
  return good > 0 ? ExitCode::kInputUnread : ExitCode::kOutputUnwritten;
}

ExitCode Batch::Run(Console& console) {
  InputList list(options_.into, options_.recursive);
  for (const std::string& file : options_.files) {
    list.Add(file);
  }
  std::string reason;
  if (!options_.list.empty() && !list.AddFrom(options_.list, reason)) {
    console.Error(options_.list, reason);
    return ExitCode::kUsage;
  }
  if (!list.GetClash().empty()) {
    console.Error(options_.into, list.GetClash());
    return ExitCode::kUsage;
  }
  const std::vector<InputList::Input>& inputs = list.GetInputs();
  BatchReport report(console, inputs.size(), options_.json);
  if (!options_.log.empty() && !report.OpenLog(options_.log, reason)) {
    console.Error(options_.log, reason);
    return ExitCode::kUsage;
  }
  LoadLibraries(inputs);
  Crew::Work work;
  work.count = inputs.size();
  work.guessMemory = [&](std::size_t index) { return GuessMemory(inputs[index]); };
  work.run = [&](std::size_t index) { return RunJob(console, inputs[index]); };
  work.end = [&](std::size_t index, const Crew::Result& ended) {
    if (ended.end != Crew::End::kDone) {
      FolderReplacement::RemoveAbandoned(inputs[index].folder);
    }
    report.Add(index, MakeResult(inputs[index], ended));
  };
  work.wait = [&] { report.ShowProgress(); };
  const int signal = Crew::Run(MakeLimits(), work);
  if (signal != 0) {
    EndBySignal(signal);
  }
  if (!report.Conclude()) {
    console.Error("", "the report or the log could not be written");
    return ExitCode::kOutputUnwritten;
  }
  return GetExitCode(inputs.size(), report.GetGoodCount(), report.GetLossyCount());
}

}  // namespace mirel

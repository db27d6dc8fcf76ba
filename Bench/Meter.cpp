#include <Bench/Meter.h>

#include <linux/perf_event.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace mirel::bench {

namespace {

/// A line such as "VmRSS:   1234 kB" of the process's status, in bytes.
std::int64_t StatusBytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    if (word != key) continue;
    std::int64_t kibibytes = 0;
    status >> kibibytes;
    return kibibytes * 1024;
  }
  return 0;
}

/// Counts instructions of this process and of the threads that it starts from now on.
int OpenInstructionCounter() {
  perf_event_attr attributes{};
  attributes.size = sizeof attributes;
  attributes.type = PERF_TYPE_HARDWARE;
  attributes.config = PERF_COUNT_HW_INSTRUCTIONS;
  attributes.exclude_kernel = 1;
  attributes.exclude_hv = 1;
  attributes.inherit = 1;
  return static_cast<int>(syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0));
}

}  // namespace

Cost& Cost::operator+=(const Cost& other) {
  seconds += other.seconds;
  instructions += other.instructions;
  return *this;
}

void Cost::AddTo(Figures& figures, const std::string& name) const {
  figures.Set(name, seconds);
  if (instructions > 0.0) figures.Set(name + "Instructions", instructions);
}

Meter::Usage Meter::GetUsage() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return {seconds(usage.ru_utime), seconds(usage.ru_stime), static_cast<double>(usage.ru_minflt)};
}

double Meter::CountInstructions() const {
  std::uint64_t count = 0;
  const bool counted = counter_ >= 0 && read(counter_, &count, sizeof count) == sizeof count;
  return counted ? static_cast<double>(count) : 0.0;
}

Meter::Meter() : counter_(OpenInstructionCounter()) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew from what is resident now
  baseline_ = StatusBytes("VmRSS:");
  usage_ = GetUsage();
  startInstructions_ = lapInstructions_ = CountInstructions();
  start_ = lap_ = Clock::now();
}

Meter::~Meter() {
  if (counter_ >= 0) close(counter_);
}

Cost Meter::Lap() {
  const Clock::time_point now = Clock::now();
  const double instructions = CountInstructions();
  const Cost cost{std::chrono::duration<double>(now - lap_).count(), instructions - lapInstructions_};
  lap_ = now;
  lapInstructions_ = instructions;
  return cost;
}

double Meter::Elapsed() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Meter::Stop(Figures& figures) const {
  Cost{Elapsed(), CountInstructions() - startInstructions_}.AddTo(figures, "seconds");
  const Usage usage = GetUsage();
  figures.Set("userSeconds", usage.user - usage_.user);
  figures.Set("systemSeconds", usage.system - usage_.system);
  figures.Set("pageFaults", usage.pageFaults - usage_.pageFaults);
  figures.Set("peakBytes", static_cast<double>(StatusBytes("VmHWM:") - baseline_));
  figures.Set("liveBytes", static_cast<double>(StatusBytes("VmRSS:") - baseline_));
}

}  // namespace mirel::bench

#include <Bench/Meter.h>

#include <malloc.h>
#include <sys/resource.h>

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

}  // namespace

Meter::Usage Meter::GetUsage() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return {seconds(usage.ru_utime), seconds(usage.ru_stime), static_cast<double>(usage.ru_minflt)};
}

Meter::Meter() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew from what is resident now
  baseline_ = StatusBytes("VmRSS:");
  usage_ = GetUsage();
  start_ = lap_ = Clock::now();
}

double Meter::Lap() {
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - lap_).count();
  lap_ = now;
  return seconds;
}

double Meter::Elapsed() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Meter::Stop(Figures& figures) const {
  figures.Set("seconds", Elapsed());
  const Usage usage = GetUsage();
  figures.Set("userSeconds", usage.user - usage_.user);
  figures.Set("systemSeconds", usage.system - usage_.system);
  figures.Set("pageFaults", usage.pageFaults - usage_.pageFaults);
  figures.Set("peakBytes", static_cast<double>(StatusBytes("VmHWM:") - baseline_));
  figures.Set("liveBytes", static_cast<double>(StatusBytes("VmRSS:") - baseline_));
}

}  // namespace mirel::bench

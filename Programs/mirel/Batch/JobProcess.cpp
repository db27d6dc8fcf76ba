#include <Programs/mirel/Batch/JobProcess.h>

#if defined(__linux__)

#include <Programs/mirel/PipeBytes.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <new>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mirel {

namespace {

constexpr std::size_t kPrintedBytes = 64 * 1024;
constexpr double kSecondsToCleanUp = 2.0;

// The reply of a job begins with one of these.
constexpr char kDone = 'd';
constexpr char kOutOfMemory = 'm';

int replyPipe = -1;  // of this process, in one that is a job's

void Reply(const char* data, std::size_t size) {
  if (!PipeBytes::Write(replyPipe, data, size)) {
    _exit(1);  // nobody listens any more
  }
}

// Nothing can be counted on any more: says so and has the process end as if it was asked to.
void EndOutOfMemory() {
  Reply(&kOutOfMemory, 1);
  kill(getpid(), SIGTERM);
  for (;;) {
    pause();
  }
}

std::uint64_t ReadPages(const std::string& file, int column) {
  std::ifstream stream(file);
  std::uint64_t pages = 0;
  for (int i = 0; i <= column; ++i) {
    stream >> pages;
  }
  return stream ? pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

void LimitAddressSpace(std::uint64_t more) {
  const std::uint64_t mapped = ReadPages("/proc/self/statm", 0);
  if (mapped > 0 && more < RLIM_INFINITY - mapped) {
    const rlimit limit = {mapped + more, mapped + more};
    setrlimit(RLIMIT_AS, &limit);
  }
}

void Redirect(int from, int to) {
  if (from >= 0) {
    dup2(from, to);
  }
}

// The job's part of the fork.
[[noreturn]] void Work(const std::function<std::string()>& job, pid_t caller, const sigset_t& mask,
                       int prints, std::uint64_t addressSpace) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != caller) {
    _exit(1);  // which has gone before it could be told of
  }
  std::signal(SIGCHLD, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  Redirect(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  Redirect(prints, STDOUT_FILENO);
  Redirect(prints, STDERR_FILENO);
  LimitAddressSpace(addressSpace);
  std::set_new_handler(&EndOutOfMemory);
  const std::string reply = kDone + job();
  Reply(reply.data(), reply.size());
  _exit(0);  // nothing is destroyed that goes with the process
}

// Takes what is in a pipe, as far as it fits.
void Take(int pipe, std::string& text, std::size_t most) {
  char block[4096];
  for (ssize_t count = 0; (count = read(pipe, block, sizeof block)) > 0;) {
    text.append(block, std::min(static_cast<std::size_t>(count), most - std::min(most, text.size())));
  }
}

}  // namespace

JobProcess::~JobProcess() {
  if (process_ > 0) {
    kill(-process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  close(replies_);
  close(prints_);
}

bool JobProcess::Start(const std::function<std::string()>& job, const sigset_t& mask,
                       std::uint64_t addressSpace) {
  int replies[2] = {-1, -1};
  int prints[2] = {-1, -1};
  if (pipe2(replies, O_CLOEXEC) != 0 || pipe2(prints, O_CLOEXEC) != 0) {
    close(replies[0]);
    close(replies[1]);
    return false;
  }
  begun_ = Clock::now();
  const pid_t caller = getpid();
  process_ = fork();
  if (process_ == 0) {
    replyPipe = replies[1];
    Work(job, caller, mask, prints[1], addressSpace);
  }
  close(replies[1]);
  close(prints[1]);
  replies_ = replies[0];
  prints_ = prints[0];
  fcntl(replies_, F_SETFL, O_NONBLOCK);
  fcntl(prints_, F_SETFL, O_NONBLOCK);
  if (process_ > 0) {
    setpgid(process_, process_);  // both do it, as nobody knows who is first
  }
  return process_ > 0;
}

double JobProcess::GetSeconds() const {
  return std::chrono::duration<double>(Clock::now() - begun_).count();
}

bool JobProcess::Look() {
  if (process_ < 0) {
    return true;
  }
  Listen();
  int status = 0;
  rusage used = {};
  if (wait4(process_, &status, WNOHANG, &used) == process_) {
    kill(-process_, SIGKILL);  // what it has started and not waited for
    process_ = -1;
    Listen();
    result_.seconds = GetSeconds();
    result_.memory = std::max(result_.memory, static_cast<std::uint64_t>(used.ru_maxrss) * 1024);
    Conclude(status);
    return true;
  }
  Measure();
  if (isStopping_ && std::chrono::duration<double>(Clock::now() - stopped_).count() > kSecondsToCleanUp) {
    kill(-process_, SIGKILL);
  }
  return false;
}

void JobProcess::Stop(Crew::End reason) {
  if (process_ > 0 && !isStopping_) {
    isStopping_ = true;
    stopped_ = Clock::now();
    result_.end = reason;
    kill(-process_, SIGTERM);
  }
}

void JobProcess::Listen() {
  Take(replies_, result_.reply, std::string::npos);
  std::string complaints;  // of one that is stopped, and whose folder goes while it writes
  Take(prints_, isStopping_ ? complaints : result_.printed, kPrintedBytes);
}

// Pages that a process shares with the one that it was forked from are counted in both, so the larger one stands for them.
void JobProcess::Measure() {
  const std::string process = std::to_string(process_);
  memory_ = ReadPages("/proc/" + process + "/statm", 1);
  std::ifstream children("/proc/" + process + "/task/" + process + "/children");
  for (std::string child; children >> child;) {
    memory_ = std::max(memory_, ReadPages("/proc/" + child + "/statm", 1));
  }
  result_.memory = std::max(result_.memory, memory_);
}

void JobProcess::Conclude(int status) {
  const char kind = result_.reply.empty() ? '\0' : result_.reply[0];
  result_.reply.erase(0, 1);
  if (isStopping_) {
    return;  // whatever it did in the end
  }
  const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  result_.end = kind == kDone && status == 0             ? Crew::End::kDone
                : kind == kOutOfMemory                   ? Crew::End::kOutOfMemory
                : signal == SIGKILL || signal == SIGTERM ? Crew::End::kKilled
                                                         : Crew::End::kCrashed;
}

}  // namespace mirel

#endif

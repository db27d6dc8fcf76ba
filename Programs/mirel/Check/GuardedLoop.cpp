#include <Programs/mirel/Check/GuardedLoop.h>

#include <Programs/mirel/PipeBytes.h>

#include <Standard_Failure.hxx>

#include <cstdint>
#include <cstring>
#include <exception>

#if !defined(_WIN32)
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace mirel {

namespace {

using Job = std::function<void(std::size_t, const GuardedLoop::Say&)>;

bool RunJob(const Job& job, std::size_t index, const GuardedLoop::Say& say) {
  try {
    job(index, say);
    return true;
  } catch (const Standard_Failure&) {
    return false;
  } catch (const std::exception&) {
    return false;
  }
}

#if !defined(_WIN32)

// A message is a byte that says what it is and four that say how long, then the text.
constexpr char kSaid = 's';
constexpr char kDone = 'd';
constexpr char kFailed = 'f';

void Send(int pipe, char kind, const std::string& text) {
  const std::uint32_t size = static_cast<std::uint32_t>(text.size());
  std::string message(1, kind);
  message.append(reinterpret_cast<const char*>(&size), sizeof size);
  message += text;
  if (!PipeBytes::Write(pipe, message.data(), message.size())) {
    _exit(1);  // nobody listens any more
  }
}

bool Receive(int pipe, char& kind, std::string& text) {
  std::uint32_t size = 0;
  if (!PipeBytes::Read(pipe, &kind, 1) ||
      !PipeBytes::Read(pipe, reinterpret_cast<char*>(&size), sizeof size)) {
    return false;
  }
  text.resize(size);
  return PipeBytes::Read(pipe, text.data(), size);
}

void LimitMemory(std::uint64_t more) {
  std::uint64_t pages = 0;
  if (more == 0 || !(std::ifstream("/proc/self/statm") >> pages)) {
    return;
  }
  const auto bytes = static_cast<rlim_t>(pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + more);
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
}

// Has the process end when the one that it was forked from does, however that ends.
void EndWith([[maybe_unused]] pid_t caller) {
#if defined(__linux__)
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != caller) {
    _exit(1);  // which has gone before it could be told of
  }
#endif
}

// The child's part. The alarm ends it even where the caller's end does not.
[[noreturn]] void Work(pid_t caller, int pipe, std::size_t first, std::size_t count,
                       const GuardedLoop::Limits& limits, const Job& job) {
  EndWith(caller);
  for (const int number :
       {SIGALRM, SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    std::signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const int nowhere = open("/dev/null", O_WRONLY);
  if (nowhere >= 0) {
    dup2(nowhere, STDOUT_FILENO);
  }
  LimitMemory(limits.memory);
  for (std::size_t i = first; i < count; ++i) {
    alarm(limits.seconds);
    const bool good = RunJob(job, i, [pipe](const std::string& text) { Send(pipe, kSaid, text); });
    alarm(0);
    Send(pipe, good ? kDone : kFailed, std::string());
  }
  _exit(0);
}

#endif

}  // namespace

void GuardedLoop::Run(std::size_t count, [[maybe_unused]] const Limits& limits, const Job& job,
                      const std::function<void(std::size_t, const std::string&)>& hear,
                      const std::function<void(std::size_t, End)>& end) {
  std::size_t next = 0;
#if !defined(_WIN32)
  while (next < count) {
    int ends[2];
    if (pipe(ends) != 0) {
      break;
    }
    const pid_t caller = getpid();
    const pid_t child = fork();
    if (child == 0) {
      close(ends[0]);
      Work(caller, ends[1], next, count, limits, job);
    }
    close(ends[1]);
    if (child < 0) {
      close(ends[0]);
      break;
    }
    char kind = 0;
    std::string text;
    while (next < count && Receive(ends[0], kind, text)) {
      if (kind == kSaid) {
        hear(next, text);
      } else {
        end(next++, kind == kDone ? End::kDone : End::kCrashed);
      }
    }
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (next < count) {
      end(next++, WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM ? End::kTimedOut : End::kCrashed);
    }
  }
#endif
  for (; next < count; ++next) {
    const bool good = RunJob(job, next, [&](const std::string& text) { hear(next, text); });
    end(next, good ? End::kDone : End::kCrashed);
  }
}

}  // namespace mirel

#include <Programs/mirel/CrashGuard.h>

#include <Programs/mirel/HandlerStack.h>
#include <Programs/mirel/Save/InterruptCleanup.h>
#include <Programs/mirel/Text/Utf8.h>

#if !defined(_WIN32)
#include <atomic>
#include <csignal>
#include <optional>
#include <pthread.h>
#include <unistd.h>
#endif

namespace mirel {

#if defined(_WIN32)

CrashGuard::CrashGuard(const std::string&, const std::string&, ExitCode) {}
CrashGuard::~CrashGuard() = default;

#else

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr std::size_t kSignalCount = sizeof kSignals / sizeof kSignals[0];

// The handler may allocate nothing: all that it says is made before.
std::string message;
ExitCode exitCode = ExitCode::kInputUnread;
struct sigaction before[kSignalCount];
std::optional<HandlerStack> handlerStack;

std::atomic<pthread_t> crashed{};

extern "C" void EndAfterCrash(int) {
  pthread_t first{};
  if (!crashed.compare_exchange_strong(first, pthread_self())) {
    if (pthread_equal(first, pthread_self()) != 0) {
      _exit(static_cast<int>(exitCode));  // here too
    }
    for (;;) {
      pause();  // the other thread that has crashed ends the process
    }
  }
  const char* text = message.data();
  std::size_t left = message.size();
  while (left > 0) {
    const ssize_t written = write(STDERR_FILENO, text, left);
    if (written <= 0) {
      break;
    }
    text += written;
    left -= static_cast<std::size_t>(written);
  }
  InterruptCleanup::EndProcess(static_cast<int>(exitCode));
}

}  // namespace

CrashGuard::CrashGuard(const std::string& file, const std::string& reason, ExitCode code) {
  message = "\n" + Utf8::ForTerminal("mirel: " + file + ": " + reason, false) + "\n";
  exitCode = code;
  handlerStack.emplace();
  struct sigaction action = {};
  action.sa_handler = &EndAfterCrash;
  action.sa_flags = SA_ONSTACK;
  for (std::size_t i = 0; i < kSignalCount; ++i) {
    sigaction(kSignals[i], &action, &before[i]);
  }
}

CrashGuard::~CrashGuard() {
  for (std::size_t i = 0; i < kSignalCount; ++i) {
    sigaction(kSignals[i], &before[i], nullptr);
  }
  handlerStack.reset();
}

#endif

}  // namespace mirel

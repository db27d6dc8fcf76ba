#include <Programs/mirel/Save/InterruptCleanup.h>

#include <mutex>
#include <thread>

#if defined(_WIN32)
#define NOMINMAX
#include <windows.h>
#else
#include <csignal>
#include <pthread.h>
#include <unistd.h>
#endif

namespace mirel {

namespace {

// Never destroyed: the waiting thread may need them while the process ends.
std::mutex& Mutex() {
  static std::mutex* const mutex = new std::mutex;
  return *mutex;
}
std::filesystem::path& Folder() {
  static std::filesystem::path* const folder = new std::filesystem::path;
  return *folder;
}

void RemoveFolder() {
  const std::lock_guard<std::mutex> lock(Mutex());
  if (Folder().empty()) {
    return;
  }
  // The thread that writes may put one more file into a folder that is being emptied.
  for (int attempt = 0; attempt < 10; ++attempt) {
    std::error_code failure;
    std::filesystem::remove_all(Folder(), failure);
    if (!std::filesystem::exists(Folder(), failure)) {
      break;
    }
  }
}

#if defined(_WIN32)

BOOL WINAPI HandleInterrupt(DWORD) {
  RemoveFolder();
  return FALSE;  // and on to the system's own handler, which ends the process
}

#else

volatile std::sig_atomic_t installed = 0;
volatile std::sig_atomic_t crashExitCode = 0;

sigset_t Interruptions() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGUSR1);  // from EndProcess
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) {  // as under nohup: ignored stays ignored
      sigaddset(&set, number);
    }
  }
  return set;
}

#endif

}  // namespace

void InterruptCleanup::Install() {
#if defined(_WIN32)
  SetConsoleCtrlHandler(&HandleInterrupt, TRUE);
#else
  // A handler could not remove files: hardly any function is safe in one. A thread that waits for the signal
  // can.
  const sigset_t set = Interruptions();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  std::thread([set] {
    int number = 0;
    if (sigwait(&set, &number) != 0) {
      return;
    }
    RemoveFolder();
    if (number == SIGUSR1) {
      _exit(crashExitCode);
    }
    std::signal(number, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, number);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    raise(number);
  }).detach();
  installed = 1;
#endif
}

#if !defined(_WIN32)
void InterruptCleanup::EndProcess(int exitCode) {
  crashExitCode = exitCode;
  if (installed == 0 || kill(getpid(), SIGUSR1) != 0) {
    _exit(exitCode);
  }
  for (;;) {
    pause();
  }
}
#endif

void InterruptCleanup::Watch(const std::filesystem::path& folder) {
  const std::lock_guard<std::mutex> lock(Mutex());
  Folder() = folder;
}

}  // namespace mirel

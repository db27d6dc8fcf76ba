#include <Tests/Support/ChildRun.h>

#if defined(__linux__)

#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mirel {

namespace {

/// What the program prints goes to the descriptor.
[[noreturn]] void Execute(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  execv(arguments[0], arguments.data());
  _exit(127);
}

/// Whether an open file of a process lies in a folder: it may be a pipe as well, which sanitizers use among themselves.
bool IsFile(pid_t process, std::uint64_t descriptor) {
  std::error_code ignored;
  const std::string target = std::filesystem::read_symlink(
      "/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor), ignored);
  return target.rfind('/', 0) == 0 && target.rfind("/dev/", 0) != 0;
}

/// Whether a system call, seen at its entry, changes the file system or a file.
bool IsStep(pid_t process, const __ptrace_syscall_info& call) {
  const auto* const arguments = call.entry.args;
  switch (call.entry.nr) {
  case SYS_openat:
    return (arguments[2] & (O_CREAT | O_TRUNC)) != 0;
  case SYS_write:
  case SYS_writev:
  case SYS_pwrite64:
    return IsFile(process, arguments[0]);
  case SYS_fsync:
  case SYS_ftruncate:
  case SYS_mkdirat:
  case SYS_unlinkat:
  case SYS_renameat2:
#if defined(SYS_renameat)
  case SYS_renameat:
#endif
#if defined(SYS_rename)  // not on the newer kinds of processors
  case SYS_rename:
  case SYS_mkdir:
  case SYS_rmdir:
  case SYS_unlink:
  case SYS_creat:
#endif
    return true;
#if defined(SYS_open)
  case SYS_open:
    return (arguments[1] & (O_CREAT | O_TRUNC)) != 0;
#endif
  default:
    return false;
  }
}

int Nowhere() {
  return open("/dev/null", O_WRONLY | O_CLOEXEC);
}

int ToExitCode(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

int StartProgram(const std::vector<std::string>& command) {
  const pid_t child = fork();
  if (child == 0) Execute(command, Nowhere());
  return child;
}

ChildRun WaitFor(int process) {
  ChildRun run;
  int status = 0;
  if (waitpid(process, &status, 0) == process) run.exitCode = ToExitCode(status);
  return run;
}

ChildRun RunProgram(const std::vector<std::string>& command, const std::function<void()>& prepare) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return ChildRun();
  const pid_t child = fork();
  if (child == 0) {
    if (prepare) prepare();
    Execute(command, ends[1]);
  }
  close(ends[1]);
  std::string output;
  char block[4096];
  for (ssize_t count = 0; (count = read(ends[0], block, sizeof block)) > 0;)
    output.append(block, static_cast<std::size_t>(count));
  close(ends[0]);
  ChildRun run = WaitFor(child);
  run.output = std::move(output);
  return run;
}

ChildRun RunUntil(unsigned int step, const std::vector<std::string>& command) {
  const pid_t child = fork();
  if (child == 0) {
    // The leak checker wants to trace the process itself, and only it needs whole stacks, which take most of the time.
    const char* const options = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS",
           (std::string(options ? options : "") + ":detect_leaks=0:fast_unwind_on_malloc=1").c_str(), 1);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    Execute(command, Nowhere());
  }
  ChildRun run;
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return run;
  constexpr long kOptions =
      PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_EXITKILL;
  ptrace(PTRACE_SETOPTIONS, child, nullptr, kOptions);
  ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
  for (unsigned int steps = 0;;) {
    const pid_t thread = waitpid(-1, &status, __WALL);
    if (thread < 0) return run;
    if (!WIFSTOPPED(status)) {
      if (thread != child) continue;
      run.exitCode = ToExitCode(status);
      return run;
    }
    long signal = 0;
    if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
      __ptrace_syscall_info call = {};
      ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof call, &call);
      if (call.op == PTRACE_SYSCALL_INFO_ENTRY && IsStep(thread, call) && steps++ == step) {
        kill(child, SIGKILL);
        run.killed = true;
      }
    } else if (WSTOPSIG(status) != SIGTRAP && WSTOPSIG(status) != SIGSTOP) {
      signal = WSTOPSIG(status);  // its own: on to it
    }
    ptrace(PTRACE_SYSCALL, thread, nullptr, signal);
  }
}

bool CanTrace() {
  return RunInChild([] { _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1); });
}

bool RunInChild(const std::function<void()>& checks) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    checks();
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  return WaitFor(child).Succeeded();
}

namespace {

bool Mount(const std::string& folder) {
  if (unshare(CLONE_NEWNS) != 0) {
    // An unprivileged process may mount when it becomes the root of a user namespace of its own.
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/uid_map", "0 " + user + " 1");
    WriteFile("/proc/self/gid_map", "0 " + group + " 1");
  }
  return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("mirel", folder.c_str(), "tmpfs", 0, "size=1m") == 0;
}

}  // namespace

void MountSmallDisk(const std::string& folder) {
  ASSERT_TRUE(Mount(folder)) << std::strerror(errno);
}

void MakeDiskReadOnly(const std::string& folder) {
  ASSERT_EQ(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0)
      << std::strerror(errno);
}

bool CanMount() {
  const TestFolder folder;
  return RunInChild([&] { _exit(Mount(folder.GetPath()) ? 0 : 1); });
}

void FillDisk(const std::string& folder, unsigned int blocksLeft) {
  const std::string ballast = folder + "ballast";
  unlink(ballast.c_str());
  struct statvfs disk = {};
  ASSERT_EQ(statvfs(folder.c_str(), &disk), 0);
  ASSERT_GT(disk.f_bfree, blocksLeft);
  WriteFile(ballast, std::string((disk.f_bfree - blocksLeft) * disk.f_bsize, 'x'));
  ASSERT_EQ(statvfs(folder.c_str(), &disk), 0);
  ASSERT_EQ(disk.f_bfree, blocksLeft);
}

void LimitFileSize(std::uint64_t bytes) {
  // The thread sanitizer writes a file of its own there, before the program can ignore the signal; it need not.
  setenv("TMPDIR", "/dev/null", 1);
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

void LimitMemory(std::uint64_t bytes) {
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
}

void ObeyPermissions() {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

}  // namespace mirel

#endif

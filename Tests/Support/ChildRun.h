#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mirel {

/// A child process of a test, on Linux.
struct ChildRun {
  int exitCode = -1;    ///< -1 when a signal ended it
  bool killed = false;  ///< by `RunUntil`
  std::string output;   ///< all that it printed, from `RunProgram`

  bool Succeeded() const { return exitCode == 0; }
};

/// Runs a program with the test's own environment. `prepare` is called in the child before the program is started.
ChildRun RunProgram(const std::vector<std::string>& command, const std::function<void()>& prepare = nullptr);

/// Starts a program and returns its process id, for `WaitFor`.
int StartProgram(const std::vector<std::string>& command);
ChildRun WaitFor(int process);

/// Runs a program and kills it (SIGKILL) right before the given step, counted from 0: a step is a system call that
/// changes the file system or a file (creates, writes, flushes, renames, removes). As nothing is on the disk but what
/// such calls put there, all steps together are all moments at which the program can be killed.
ChildRun RunUntil(unsigned int step, const std::vector<std::string>& command);

/// Whether the system lets a process watch another one as `RunUntil` does; some containers do not.
bool CanTrace();

/// Runs a test's checks in a child process, which may change what belongs to the whole process: limits, users, mounts.
/// True when none failed; what failed is printed. The child must not use OpenMP unless the test has not.
bool RunInChild(const std::function<void()>& checks);

/// Gives the calling process a file system of its own over a folder that is there: 1 MiB in memory. To be called in
/// `RunInChild`; it goes with the child.
void MountSmallDisk(const std::string& folder);
void MakeDiskReadOnly(const std::string& folder);
/// Whether the system allows that; some containers do not.
bool CanMount();
/// Makes a file that leaves so many blocks of a small disk free, in place of the one made before.
void FillDisk(const std::string& folder, unsigned int blocksLeft);

/// For `RunProgram`: no file may be larger. The signal that comes with it is not ignored.
void LimitFileSize(std::uint64_t bytes);
/// For `RunProgram`: address space.
void LimitMemory(std::uint64_t bytes);
/// For `RunProgram`: permissions bind the program even when the test runs as root.
void ObeyPermissions();

}  // namespace mirel

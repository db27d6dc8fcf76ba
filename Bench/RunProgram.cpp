#include <Bench/RunProgram.h>

#include <Bench/Meter.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace mirel::bench {

Figures RunProgram(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command)
    arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  Figures figures;
  const Meter meter;
  const pid_t child = fork();
  if (child == 0) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = -1;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
    throw std::runtime_error(command.front() + " failed");
  meter.Stop(figures);
  figures.Set("userSeconds", static_cast<double>(usage.ru_utime.tv_sec) +
                                 1e-6 * static_cast<double>(usage.ru_utime.tv_usec));
  figures.Set("peakBytes", 1024.0 * static_cast<double>(usage.ru_maxrss));
  return figures;
}

bool HasProgram(const std::string& name) {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (access((folder + "/" + name).c_str(), X_OK) == 0) return true;
  }
  return false;
}

}  // namespace mirel::bench

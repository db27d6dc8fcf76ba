#include <Bench/Display.h>

#include <Bench/RunProgram.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace mirel::bench {

bool HasDisplay() {
  return std::getenv("DISPLAY") != nullptr || HasProgram("xvfb-run");
}

void NeedDisplay(const TaskInput& input, const char* task) {
  if (std::getenv("DISPLAY") != nullptr) return;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string count = std::to_string(input.count);
  execlp("xvfb-run", "xvfb-run", "-a", "-s", "-screen 0 1920x1200x24", self.c_str(), "task", task, "--work",
         input.work.c_str(), "--source", input.source.c_str(), "--count", count.c_str(), nullptr);
  throw std::runtime_error("there is no display, and no xvfb-run");
}

}  // namespace mirel::bench

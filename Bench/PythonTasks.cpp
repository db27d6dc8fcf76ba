#include <Bench/CopiesFolder.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace mirel::bench {

namespace {

#if defined(MIREL_PYTHON)
/// Goes on as the interpreter, which prints the figures.
Figures MeasureInPython(const char* what, const std::string& folder) {
  setenv("PYTHONPATH", MIREL_PYTHON_PACKAGES, 1);
  execl(MIREL_PYTHON, MIREL_PYTHON, "-B", MIREL_PYTHON_SCRIPT, what, folder.c_str(), nullptr);
  throw std::runtime_error("there is no " MIREL_PYTHON);
}
#endif

}  // namespace

std::vector<Task> PythonTasks() {
#if defined(MIREL_PYTHON)
  return {{"python", "open the model folder by the Python package",
           [](const TaskInput& input) { return MeasureInPython("open", ModelFolder(input.work)); }},
          {"python-arrays", "arrays of all parts of --count copies of the model", [](const TaskInput& input) {
             return MeasureInPython("arrays", MakeCopies(input.work, CountCopies(input.work, input.count)));
           }}};
#else
  return {};
#endif
}

}  // namespace mirel::bench

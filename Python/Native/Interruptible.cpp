#include <Python/Native/Interruptible.h>

#include <pybind11/pybind11.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace py = pybind11;

namespace mirel::python {

namespace {

constexpr std::chrono::milliseconds kPatience(50);

bool IsDone(const std::future<void>& result) {
  const py::gil_scoped_release others;
  return result.wait_for(kPatience) == std::future_status::ready;
}

void CheckSignals() {
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

}  // namespace

void RunInterruptibly(const std::function<void()>& work, const std::function<void()>& cancel,
                      const std::function<void()>& tick) {
  std::future<void> result = std::async(std::launch::async, work);
  try {
    while (!IsDone(result)) {
      CheckSignals();
      if (tick) tick();
    }
  } catch (...) {
    const py::gil_scoped_release others;
    cancel();
    result.wait();
    throw;
  }
  result.get();
}

void RunAbandonably(std::function<void()> work) {
  const auto task = std::make_shared<std::packaged_task<void()>>(std::move(work));
  std::future<void> result = task->get_future();
  std::thread([task] { (*task)(); }).detach();
  while (!IsDone(result))
    CheckSignals();
  result.get();
}

}  // namespace mirel::python

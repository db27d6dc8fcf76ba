#include <Programs/mirel/CaughtFailure.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/FailureText.h>

namespace mirel {

ExitCode CaughtFailure::Guard(Console& console, const std::string& file,
                              const std::function<ExitCode()>& work) {
  try {
    return work();
  } catch (...) {
    console.Error(file, FailureText::OfCaught());
  }
  return ExitCode::kInputUnread;
}

}  // namespace mirel

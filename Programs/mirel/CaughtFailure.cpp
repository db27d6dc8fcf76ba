#include <Programs/mirel/CaughtFailure.h>

#include <Programs/mirel/Console.h>

#include <Standard_Failure.hxx>

#include <exception>
#include <new>

namespace mirel {

ExitCode CaughtFailure::Guard(Console& console, const std::string& file,
                              const std::function<ExitCode()>& work) {
  try {
    return work();
  } catch (const Standard_Failure& failure) {
    console.Error(file, std::string("OpenCASCADE gave up: ") + failure.DynamicType()->Name() + " " +
                            failure.GetMessageString());
  } catch (const std::bad_alloc&) {
    console.Error(file, "out of memory");
  } catch (const std::exception& failure) {
    console.Error(file, failure.what());
  }
  return ExitCode::kInputUnread;
}

}  // namespace mirel

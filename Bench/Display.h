#pragma once

#include <Bench/Task.h>

namespace mirel::bench {

/// Whether there is a display, or what makes one (xvfb-run).
bool HasDisplay();

/// For tasks whose programs need a display: where there is none, the task starts anew inside of one, which is not part of any figure,
/// and this does not return. Throws `std::runtime_error` when there is nothing that makes one.
void NeedDisplay(const TaskInput& input, const char* task);

}  // namespace mirel::bench

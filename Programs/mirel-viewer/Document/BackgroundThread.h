#pragma once

#include <sys/resource.h>
#include <unistd.h>

namespace mirel {

/// Lets other threads go before this one and before those that it begins, for as long as it lives: for work that nobody waits for
/// while the picture moves. Where processors are idle, it is as fast as ever.
inline void StepBack() {
  constexpr int kNice = 10;
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
}

}  // namespace mirel

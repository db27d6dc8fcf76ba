#pragma once

namespace mirel {

/// What the program tells its caller. The numbers are documented for scripts: never renumber.
enum class ExitCode : int {
  kDone = 0,
  kUsage = 1,      ///< the command line was wrong; nothing was done
  kDifferent = 1,  ///< the models are different (`mirel diff`, where a wrong command line is `kInputUnread`)
  kInputUnread = 2,      ///< the input could not be read, or not all of it
  kOutputUnwritten = 3,  ///< the output could not be written; what was there before is still there
  kLosses = 4,           ///< done, but something of the source is not in the output (only under --strict)
  kCalledOff = 5,        ///< nothing was done: the command was called off (`mirel run`)
  kDamaged = 6,          ///< the folder can be opened, but something in it is damaged (`mirel check`)
  kWarnings = 7,         ///< nothing is damaged, but there are warnings (`mirel check --strict`)
};

}  // namespace mirel

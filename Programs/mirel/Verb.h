#pragma once

#include <Programs/mirel/ExitCode.h>

namespace CLI {
class App;
}

namespace mirel {

class Console;

/// One thing that the program does: `mirel VERB ...`.
class Verb {
 public:
  virtual ~Verb() = default;

  /// Adds the verb with its arguments to the program's command line and returns it. The values are kept in
  /// this object.
  virtual CLI::App* Declare(CLI::App& program) = 0;

  /// Whether it sees itself to the signals that interrupt the process, such as Ctrl-C, and to there being no threads when it
  /// is run. To be asked when the command line is read.
  virtual bool HandlesInterrupts() const { return false; }

  /// How the program ends when the verb's command line is wrong.
  virtual ExitCode GetUsageCode() const { return ExitCode::kUsage; }

  /// Does it, with the values that the command line gave.
  virtual ExitCode Run(Console& console) = 0;
};

}  // namespace mirel

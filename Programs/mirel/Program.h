#pragma once

namespace mirel {

/// The program `mirel`: reads the command line and runs the verb that it names.
class Program {
 public:
  /// Returns the exit code of the process.
  static int Run(int argc, char** argv);
};

}  // namespace mirel

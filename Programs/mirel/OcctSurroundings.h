#pragma once

namespace mirel {

/// Keeps OpenCASCADE from taking settings and texts from where the program happens to run. It looks for message files
/// (`XSTEP.us`, `SHAPE.us`) in the current folder, and for settings of its readers and its mesher in environment variables:
/// whoever can write there could decide how a file is read, or whether it is.
class OcctSurroundings {
 public:
  /// Changes the environment of the process: to be called before anything of OpenCASCADE is, and before there are threads.
  static void Close();
};

}  // namespace mirel

#pragma once

#include <string>

namespace mirel {

class Console;

/// The script that pages run: the viewer of the package mirel-web, with all that it needs in one file. It is built apart from the
/// program and lies beside it in share/mirel/web.
class WebScript {
 public:
  static constexpr const char* kName = "viewer.js";

  /// Reads it. False after a message, which tells how to get it when it is not there.
  static bool Read(Console& console, std::string& script);
};

}  // namespace mirel

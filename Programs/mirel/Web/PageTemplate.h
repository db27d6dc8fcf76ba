#pragma once

#include <string>

namespace mirel {

class Console;

/// The page that shows models, and the script that it runs, as the package mirel-web has them. They are built apart from the program
/// and lie beside it in share/mirel/web.
struct PageTemplate {
  static constexpr const char* kPage = "page.html";
  static constexpr const char* kScript = "page.js";

  /// Reads both. False after a message, which tells how to get them when they are not there.
  bool Read(Console& console);

  std::string html;    ///< with comments where something is to be filled in, see `PageText`
  std::string script;  ///< all that the page runs; may stand in a script element
};

}  // namespace mirel

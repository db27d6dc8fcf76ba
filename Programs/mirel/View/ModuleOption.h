#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace mirel {

class Console;

/// The option `--module PATH` of the verbs that use what modules have registered with the host. What is loaded
/// later is what is used: the host's registries replace commands and loaders of the same name and prefer the
/// reader that was added last.
class ModuleOption {
 public:
  void Declare(CLI::App& verb);

  /// Loads the library, if one was given. False after a message with its path and the reason.
  bool Load(Console& console) const;

 private:
  std::optional<std::string> path_;
};

}  // namespace mirel

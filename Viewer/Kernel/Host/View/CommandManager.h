#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace mirel {

class Command;

/// The host's registry of commands. Thread safe; commands stay registered as long as the process lives.
class MIREL_HOST_API CommandManager {
 public:
  static CommandManager& Instance();

  /// Adds a command and shares its ownership; one already registered under the same name is replaced in its place. An
  /// empty pointer is ignored.
  void Register(const std::shared_ptr<Command>& command);

  /// The commands in the order in which their names were first registered; a copy.
  std::vector<std::shared_ptr<Command>> GetCommands() const;

  /// The command of this name, or an empty pointer.
  std::shared_ptr<Command> Find(const std::string& name) const;

 private:
  CommandManager();
  ~CommandManager();

  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Command>> commands_;
};

}  // namespace mirel

#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <Viewer/Kernel/Host/View/Command.h>

#include <algorithm>

namespace mirel {

CommandManager::CommandManager() = default;

CommandManager::~CommandManager() = default;

CommandManager& CommandManager::Instance() {
  // Never destroyed: the commands' code lies in modules that may be gone when static objects are destroyed.
  static CommandManager* const instance = new CommandManager;
  return *instance;
}

void CommandManager::Register(const std::shared_ptr<Command>& command) {
  if (!command) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto same =
      std::find_if(commands_.begin(), commands_.end(), [&](const std::shared_ptr<Command>& other) {
        return other->GetName() == command->GetName();
      });
  if (same != commands_.end()) {
    *same = command;
  } else {
    commands_.push_back(command);
  }
}

std::vector<std::shared_ptr<Command>> CommandManager::GetCommands() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return commands_;
}

std::shared_ptr<Command> CommandManager::Find(const std::string& name) const {
  for (const std::shared_ptr<Command>& command : GetCommands()) {
    if (command->GetName() == name) return command;
  }
  return nullptr;
}

}  // namespace mirel

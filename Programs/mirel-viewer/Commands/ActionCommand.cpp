#include <Programs/mirel-viewer/Commands/ActionCommand.h>

#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <memory>
#include <utility>

namespace mirel {

ActionCommand::ActionCommand(const Words& words, std::function<void()> action)
    : words_(words), action_(std::move(action)) {
  SetName(words_.name);
}

ActionCommand& ActionCommand::Checked(std::function<bool()> isChecked) {
  isChecked_ = std::move(isChecked);
  return *this;
}

ActionCommand& ActionCommand::Enabled(std::function<bool()> isEnabled) {
  isEnabled_ = std::move(isEnabled);
  return *this;
}

std::string ActionCommand::Query(const std::string& question) const {
  if (question == "menu") {
    return words_.menu;
  }
  if (question == "shortcut") {
    return words_.shortcut;
  }
  if (question == "tip") {
    return words_.tip;
  }
  if (question == "group") {
    return words_.group;
  }
  if (question == "toolbar") {
    return words_.toolbar ? "yes" : "";
  }
  if (question == "checkable") {
    return isChecked_ ? "yes" : "";
  }
  if (question == "enabled") {
    return isEnabled_ && !isEnabled_() ? "no" : "";
  }
  return std::string();
}

bool ActionCommand::IsChecked(CommandContext*) const {
  return isChecked_ && isChecked_();
}

bool ActionCommand::BeforeRunning(CommandContext*) {
  return !isEnabled_ || isEnabled_();
}

bool ActionCommand::Execute(CommandContext*) {
  action_();
  return true;
}

ActionCommand& AddCommand(const ActionCommand::Words& words, std::function<void()> action) {
  const auto command = std::make_shared<ActionCommand>(words, std::move(action));
  CommandManager::Instance().Register(command);
  return *command;
}

}  // namespace mirel

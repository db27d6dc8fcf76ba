#include <Viewer/Kernel/Host/View/Command.h>

namespace mirel {

Command::Command() = default;

Command::~Command() = default;

std::string Command::GetUIName() const {
  return name_;
}

std::string Command::QueryParamsSchema() const {
  return {};
}

std::string Command::Query(const std::string&) const {
  return {};
}

bool Command::IsVisible(CommandContext*) const {
  return true;
}

bool Command::IsChecked(CommandContext*) const {
  return false;
}

bool Command::BeforeRunning(CommandContext*) {
  return true;
}

bool Command::BatchRun(CommandContext* context) {
  return Execute(context);
}

void Command::Prepare(CommandContext*) {}

}  // namespace mirel

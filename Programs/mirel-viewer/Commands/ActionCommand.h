#pragma once

#include <Viewer/Kernel/Host/View/Command.h>

#include <functional>
#include <string>

namespace mirel {

/// A command of the viewer itself, registered and shown like that of any module.
///
/// Menus learn where a command belongs by questions (`Query`), which a module's command may answer too: "menu", the titles
/// from the menu bar on ("View/Look from"; without an answer "Modules"); "shortcut", keys such as "Ctrl+O"; "tip", a
/// sentence; "group", commands of the same are kept together; "toolbar" and "checkable", "yes"; "enabled", "no" while it
/// makes no sense.
class ActionCommand : public Command {
 public:
  /// What users read. Texts live as long as the program.
  struct Words {
    const char* name;
    const char* text;
    const char* menu;
    const char* shortcut = "";
    const char* tip = "";
    const char* group = "";
    bool toolbar = false;
  };

  ActionCommand(const Words& words, std::function<void()> action);

  /// Makes it a choice with a mark.
  ActionCommand& Checked(std::function<bool()> isChecked);
  /// It makes sense only while this is true.
  ActionCommand& Enabled(std::function<bool()> isEnabled);

  std::string GetUIName() const override { return words_.text; }
  std::string Query(const std::string& question) const override;
  bool IsChecked(CommandContext* context) const override;
  bool BeforeRunning(CommandContext* context) override;
  bool Execute(CommandContext* context) override;

 private:
  const Words words_;
  const std::function<void()> action_;
  std::function<bool()> isChecked_, isEnabled_;
};

/// Makes a command and registers it.
ActionCommand& AddCommand(const ActionCommand::Words& words, std::function<void()> action);

}  // namespace mirel

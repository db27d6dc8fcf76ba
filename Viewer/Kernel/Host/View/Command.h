#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

class CommandContext;

/// A viewer command that a user runs by name. A plug-in overrides `Execute`; the other operations have defaults.
///
/// Commands run on the viewer's thread.
class MIREL_HOST_API Command {
 public:
  Command();
  virtual ~Command();

  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// The name under which the command is registered.
  const std::string& GetName() const { return name_; }
  void SetName(const std::string& name) { name_ = name; }

  /// The text of the command's menu entry; the name, unless overridden.
  virtual std::string GetUIName() const;
  /// A JSON description of the parameters; empty: the command has none.
  virtual std::string QueryParamsSchema() const;
  /// Answers a question about the command's state; empty: no answer.
  virtual std::string Query(const std::string& question) const;
  virtual bool IsVisible(CommandContext* context) const;
  virtual bool IsChecked(CommandContext* context) const;
  /// Called before `Execute`; false keeps the command from running.
  virtual bool BeforeRunning(CommandContext* context);
  /// Does the work; true when it was done, false when the user called it off.
  virtual bool Execute(CommandContext* context) = 0;
  /// Runs without asking; as `Execute`, unless overridden.
  virtual bool BatchRun(CommandContext* context);
  /// Called once before the command is first shown.
  virtual void Prepare(CommandContext* context);

 private:
  std::string name_;
};

}  // namespace mirel

#include <Programs/mirel/View/RunVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/View/WindowlessViewer.h>

#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandContext.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <vector>

namespace mirel {

namespace {

// Answers every file dialog with one file while it lives; an empty path cancels it.
class DialogAnswer {
 public:
  explicit DialogAnswer(const std::string& file) {
    DialogUtil::SetOpenFileFunction([this, file](const std::string&, const std::vector<std::string>&) {
      wasAsked_ = true;
      return Path(file);
    });
  }
  ~DialogAnswer() { DialogUtil::SetOpenFileFunction(nullptr); }
  DialogAnswer(const DialogAnswer&) = delete;
  DialogAnswer& operator=(const DialogAnswer&) = delete;

  bool WasAsked() const { return wasAsked_; }

 private:
  bool wasAsked_ = false;
};

std::string ListCommands() {
  std::string names;
  for (const std::shared_ptr<Command>& command : CommandManager::Instance().GetCommands()) {
    names += (names.empty() ? "" : ", ") + command->GetName();
  }
  return names.empty() ? "none" : names;
}

}  // namespace

CLI::App* RunVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand(
      "run", "Run a registered command in a viewer without a window, and print the viewer's node tree");
  verb->add_option("COMMAND", command_, "Name of the command; `mirel commands` lists them")->required();
  verb->add_option("--file", file_,
                   "Answer to the command's file dialog; without it, the dialog is cancelled")
      ->type_name("PATH");
  verb->add_option("--depth", depth_, "Print this many levels only")->check(&ArgumentCheck::IsPositiveCount);
  verb->add_flag("--json", json_, "Print the tree as JSON");
  module_.Declare(*verb);
  return verb;
}

ExitCode RunVerb::Run(Console& console) {
  if (!module_.Load(console)) {
    return ExitCode::kInputUnread;
  }
  const std::shared_ptr<Command> command = CommandManager::Instance().Find(command_);
  if (!command) {
    console.Error(command_, "no such command; registered are: " + ListCommands());
    return ExitCode::kUsage;
  }
  WindowlessViewer viewer;
  CommandContext context(&viewer.GetViewer());
  bool failed = false;
  bool tookFile = false;
  {
    const LogRecorder log(console, file_.empty() ? command_ : file_);
    const DialogAnswer dialog(file_);
    if (!command->BeforeRunning(&context)) {
      console.Error(command_, "the command cannot run now");
      return ExitCode::kCalledOff;
    }
    const bool done = command->Execute(&context);
    failed = log.GetFailureCount() > 0;
    tookFile = dialog.WasAsked() && !file_.empty();
    if (!done && !failed) {
      const bool needsFile = dialog.WasAsked() && file_.empty();
      console.Error(command_,
                    needsFile ? "called off: it asks for a file, which --file gives" : "called off");
      return ExitCode::kCalledOff;
    }
  }
  if (!failed && tookFile && viewer.IsEmpty()) {
    console.Error(file_, "is not a model folder: its index has no types and items");
    failed = true;
  }
  if (failed && viewer.IsEmpty()) {
    return ExitCode::kInputUnread;
  }
  if (!viewer.PrintScene(console, json_, depth_)) {
    console.Error("", "the tree could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return failed ? ExitCode::kInputUnread : ExitCode::kDone;
}

}  // namespace mirel

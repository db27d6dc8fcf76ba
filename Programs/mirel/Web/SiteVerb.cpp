#include <Programs/mirel/Web/SiteVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Save/InputFolder.h>
#include <Programs/mirel/Web/PageTemplate.h>
#include <Programs/mirel/Web/PreviewCall.h>
#include <Programs/mirel/Web/SiteWriter.h>
#include <Programs/mirel/Web/WebModel.h>

#include <CLI/CLI.hpp>

namespace mirel {

CLI::App* SiteVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("site", "Make a folder for a web server, whose page shows a model");
  verb->add_option("FOLDER", input_, InputFolder::kWhatIsRead)->required();
  verb->add_option("OUT", output_, "Folder to make")->required();
  verb->add_flag("--with-bodies", withBodies_, "Put the exact bodies in too, for download from the page");
  verb->add_flag("--force", force_, "Replace OUT if it is a site already");
  verb->add_flag("--preview", preview_, "Then serve it to this machine alone, until Ctrl-C");
  verb->add_flag("--strict", strict_, "End with exit code 4 when nothing is to be seen");
  return verb;
}

ExitCode SiteVerb::Run(Console& console) {
  PageTemplate form;
  if (!form.Read(console) || (preview_ && !PreviewCall::IsPossible(console))) {
    return ExitCode::kOutputUnwritten;
  }
  // Before the long work, not after it.
  const std::string refusal = SiteWriter(output_, force_).Check(input_);
  if (!refusal.empty()) {
    console.Error(output_, refusal);
    return ExitCode::kOutputUnwritten;
  }
  bool isWritten = false;
  const ExitCode result = MakeSite(console, form, isWritten);
  return preview_ && isWritten ? PreviewCall::Serve(console, output_) : result;
}

ExitCode SiteVerb::MakeSite(Console& console, const PageTemplate& form, bool& isWritten) const {
  InputFolder folder;
  const ExitCode prepared = folder.Prepare(console, input_);
  if (prepared != ExitCode::kDone) {
    return prepared;
  }
  WebModel model({withBodies_, true});
  if (!model.Open(console, folder.GetPath())) {
    return ExitCode::kInputUnread;
  }
  const LogRecorder log(console, output_);
  std::string reason;
  std::string left;
  if (!SiteWriter(output_, force_).Write(model, model.MakeTitle(input_), form, reason, left)) {
    console.Error(output_, reason);
    return ExitCode::kOutputUnwritten;
  }
  isWritten = true;
  if (!left.empty()) {
    console.Note("the folder that was there before is replaced but cannot be removed: " + left);
  }
  return model.Conclude(console, input_, strict_);
}

}  // namespace mirel

#include <Programs/mirel/Diff/DiffVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Diff/ChangePicture.h>
#include <Programs/mirel/Diff/ChangeReport.h>
#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Diff/ComparedVersions.h>
#include <Programs/mirel/Picture/PictureArguments.h>
#include <Programs/mirel/Picture/PictureCall.h>
#include <Programs/mirel/Save/InputFolder.h>

#include <CLI/CLI.hpp>

namespace mirel {

CLI::App* DiffVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("diff", "Tell what is different between two versions of a model");
  verb->add_option("OLD", old_, InputFolder::kWhatIsRead)->required();
  verb->add_option("NEW", new_, "The same for the newer version")->required();
  verb->add_flag("--json", json_, "Print as JSON");
  verb->add_option(
          "--picture", picture_.output,
          "Also draw it: what is gone in red, new in green, changed in yellow, the rest as if of glass")
      ->type_name("OUT");
  verb->add_option("--size", size_, "Width and height of the picture in pixels (1600x1200)")
      ->type_name("WxH")
      ->check([this](const std::string& text) { return PictureArguments::ReadSize(text, picture_.options); });
  verb->add_option("--view", picture_.view, "Look from this side: front back left right top bottom iso (iso)")
      ->type_name("SIDE")
      ->check(ArgumentCheck::IsOneOf({"front", "back", "left", "right", "top", "bottom", "iso"}));
  return verb;
}

ExitCode DiffVerb::Run(Console& console) {
  if (!picture_.output.empty() && !PictureCall::IsPossible(console)) {
    return ExitCode::kOutputUnwritten;
  }
  ComparedVersions comparison;
  const ExitCode opened = comparison.Open(console, old_, new_);
  return opened == ExitCode::kDone ? Tell(console, comparison.GetChanges(), comparison.IsComplete()) : opened;
}

ExitCode DiffVerb::Tell(Console& console, const Changes& changes, bool isComplete) {
  if (!console.Data(json_ ? ChangeReport::MakeJson(old_, new_, changes)
                          : ChangeReport::MakeText(old_, new_, changes))) {
    console.Error("", "the differences could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  if (!picture_.output.empty()) {
    PictureReply reply;
    const ExitCode drawn =
        PictureCall::Draw(console, new_, ChangePicture::MakeNodes(changes), picture_, reply);
    if (drawn != ExitCode::kDone) {
      return drawn;
    }
  }
  if (!isComplete) {
    return ExitCode::kInputUnread;
  }
  return changes.GetAll().empty() ? ExitCode::kDone : ExitCode::kDifferent;
}

}  // namespace mirel

#include <Programs/mirel/Diff/DiffVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Diff/BodyStore.h>
#include <Programs/mirel/Diff/ChangePicture.h>
#include <Programs/mirel/Diff/ChangeReport.h>
#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Diff/PartMatching.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/GraphicsOpener.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Picture/PictureArguments.h>
#include <Programs/mirel/Picture/PictureCall.h>
#include <Programs/mirel/Save/InputFolder.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

namespace mirel {

namespace {

// One of both versions, opened.
class Version {
 public:
  /// `kDone`, or the exit code after a message.
  ExitCode Open(Console& console, const std::string& input) {
    const ExitCode prepared = folder_.Prepare(console, input);
    if (prepared != ExitCode::kDone) {
      return prepared;
    }
    const std::string& path = folder_.GetPath();
    GraphicsOpener opener(console, path);
    const std::shared_ptr<GroupSceneNode> root = opener.TakeRoot();
    if (!root) {
      return ExitCode::kInputUnread;
    }
    isComplete_ = opener.FinishWithoutBodies();
    store_.emplace(PathUtil::GetFolderPath(ModelPath::FindIndex(path)));
    isComplete_ = store_->Load() && isComplete_;
    model_.emplace(root, *store_);
    return ExitCode::kDone;
  }

  bool IsComplete() const { return isComplete_; }
  const ComparedModel& GetModel() const { return *model_; }

 private:
  InputFolder folder_;
  std::optional<BodyStore> store_;
  std::optional<ComparedModel> model_;
  bool isComplete_ = false;
};

}  // namespace

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
  Version older, newer;
  for (const auto& [version, input] : {std::make_pair(&older, &old_), {&newer, &new_}}) {
    const ExitCode opened = version->Open(console, *input);
    if (opened != ExitCode::kDone) {
      return opened;
    }
  }
  BodyClasses classes(older.GetModel(), newer.GetModel());
  const PartMatching parts(older.GetModel(), newer.GetModel(), classes);
  const NodeMatching nodes(older.GetModel(), newer.GetModel(), parts);
  const Changes changes(older.GetModel(), newer.GetModel(), classes, nodes);
  return Tell(console, changes, older.IsComplete() && newer.IsComplete());
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

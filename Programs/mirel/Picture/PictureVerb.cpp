#include <Programs/mirel/Picture/PictureVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/GraphicsOpener.h>
#include <Programs/mirel/Picture/PictureArguments.h>
#include <Programs/mirel/Picture/PictureCall.h>
#include <Programs/mirel/Save/InputFolder.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <CLI/CLI.hpp>

#include <utility>

namespace mirel {

namespace {

constexpr int kMaxSamples = 64;
constexpr int kMaxTurntable = 999;

}  // namespace

CLI::App* PictureVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand("picture", "Draw a model into a PNG file; needs no display");
  verb->add_option("FOLDER", input_, InputFolder::kWhatIsRead)->required();
  verb->add_option("OUT", request_.output, "PNG file to write")->required();
  PictureOptions& options = request_.options;
  verb->add_option("--size", size_, "Width and height in pixels (1600x1200)")
      ->type_name("WxH")
      ->check([&options](const std::string& text) { return PictureArguments::ReadSize(text, options); });
  verb->add_option("--view", request_.view, "Look from this side: front back left right top bottom iso (iso)")
      ->type_name("SIDE")
      ->check(ArgumentCheck::IsOneOf({"front", "back", "left", "right", "top", "bottom", "iso"}));
  verb->add_option("--from", from_, "Look from this direction instead, such as 1,-1,0.5; z is up")
      ->type_name("X,Y,Z")
      ->check([this](const std::string& text) {
        return PictureArguments::ReadDirection(text, request_.from.emplace());
      });
  verb->add_option("--up", up_, "With --from: what is upwards in the picture (0,0,1)")
      ->type_name("X,Y,Z")
      ->check([this](const std::string& text) { return PictureArguments::ReadDirection(text, request_.up); });
  verb->add_flag("--parallel", request_.parallel, "Without perspective");
  const auto parts = [verb](const char* name, std::vector<std::string>& values, const char* text) {
    verb->add_option(name, values, text)->type_name("ID");
  };
  parts("--fit", request_.fit, "Fill the picture with these parts; ids or names");
  parts("--only", request_.only, "Draw these parts alone");
  parts("--hide", request_.hide, "Leave these parts out");
  parts("--ghost", request_.ghost, "Draw these parts as if of glass");
  verb->add_option(
          "--section", sections_,
          "Cut the model: x, y or z through its middle, x=120 elsewhere, -x takes the other side; or "
          "X,Y,Z,MM")
      ->type_name("PLANE")
      ->check([](const std::string& text) {
        PictureRequest::Section ignored;
        return PictureArguments::ReadSection(text, ignored);
      });
  verb->add_option("--edges", edges_, "Lines: none, sharp or all (sharp)")
      ->type_name("WHICH")
      ->check(ArgumentCheck::IsOneOf({"none", "sharp", "all"}));
  verb->add_option("--background", background_, "A color such as #f0f4f8 or white, or none for transparency")
      ->type_name("COLOR")
      ->check(
          [&options](const std::string& text) { return PictureArguments::ReadBackground(text, options); });
  verb->add_option("--samples", options.samples, "Rays for each pixel where more than one is needed (9)")
      ->type_name("N")
      ->check(ArgumentCheck::IsCountBetween(1, kMaxSamples));
  verb->add_option("--turntable", request_.turntable, "Draw N pictures from all around: OUT-001.png, ...")
      ->type_name("N")
      ->check(ArgumentCheck::IsCountBetween(1, kMaxTurntable));
  CLI::Option* const sheet = verb->add_flag(
      "--sheet", request_.sheet, "Draw a sheet: front, top, right and iso, dimensions in mm and the name");
  verb->add_option("--ids", request_.facesOutput,
                   "Also write a PNG file whose colors number the faces, with a legend in a .json beside it")
      ->type_name("FILE");
  for (const char* const one : {"--view", "--from", "--up", "--parallel", "--fit", "--turntable", "--ids"}) {
    sheet->excludes(verb->get_option(one));
  }
  verb->add_flag("--strict", strict_, "End with exit code 4 when nothing is to be seen");
  return verb;
}

ExitCode PictureVerb::Run(Console& console) {
  request_.options.edges = edges_ == "none"    ? PictureOptions::Edges::kNone
                           : edges_ == "sharp" ? PictureOptions::Edges::kSharp
                                               : PictureOptions::Edges::kAll;
  for (const std::string& text : sections_) {
    PictureArguments::ReadSection(text, request_.sections.emplace_back());
  }
  const PictureOptions& options = request_.options;
  if (request_.sheet &&
      (options.width < PictureRequest::kMinSheetWidth || options.height < PictureRequest::kMinSheetHeight)) {
    console.Error("--size", "a sheet has at least " + std::to_string(PictureRequest::kMinSheetWidth) + " x " +
                                std::to_string(PictureRequest::kMinSheetHeight) + " pixels");
    return ExitCode::kUsage;
  }
  request_.title = InputFolder::GetName(input_);
  if (!PictureCall::IsPossible(console)) {
    return ExitCode::kOutputUnwritten;
  }
  InputFolder folder;
  const ExitCode prepared = folder.Prepare(console, input_);
  return prepared == ExitCode::kDone ? DrawFolder(console, folder.GetPath()) : prepared;
}

ExitCode PictureVerb::DrawFolder(Console& console, const std::string& folder) {
  GraphicsOpener opener(console, folder, SceneOpening::Nodes::kShared);
  std::shared_ptr<GroupSceneNode> root = opener.TakeRoot();
  if (!root) {
    return ExitCode::kInputUnread;
  }
  PictureReply reply;
  const ExitCode result = PictureCall::Draw(console, input_, std::move(root), request_, reply);
  const bool complete = opener.Finish();
  if (result != ExitCode::kDone) {
    return result;
  }
  if (!complete) {
    return ExitCode::kInputUnread;
  }
  return strict_ && reply.nothingSeen ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace mirel

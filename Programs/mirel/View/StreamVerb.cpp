#include <Programs/mirel/View/StreamVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ExtrasOpener.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/View/PieceDelivery.h>
#include <Programs/mirel/View/TarPieces.h>
#include <Programs/mirel/View/WindowlessViewer.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace mirel {

CLI::App* StreamVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand(
      "stream", "Hand a model folder over piece by piece to the stream loader, and print the node tree");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file; - for a tar archive on stdin")
      ->required();
  verb->add_option("--seed", seed_, "Shuffle the pieces; the same number gives the same order")
      ->check(&ArgumentCheck::IsCount);
  verb->add_option("--depth", depth_, "Print this many levels only")->check(&ArgumentCheck::IsPositiveCount);
  verb->add_flag("--json", json_, "Print the tree as JSON");
  module_.Declare(*verb);
  return verb;
}

ExitCode StreamVerb::Run(Console& console) {
  if (!module_.Load(console)) {
    return ExitCode::kInputUnread;
  }
  if (folder_ == "-") {
    if (Console::IsTerminal(stdin)) {
      console.Error("stdin", "is a terminal, where no tar archive comes from");
      return ExitCode::kUsage;
    }
    TarPieces archive;
    if (!archive.Load(stdin)) {
      console.Error("stdin", archive.GetError());
      return ExitCode::kInputUnread;
    }
    return Load(console, "stdin", archive);
  }
  const std::string refusal = ModelPath::Check(folder_);
  if (!refusal.empty()) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  return Load(console, folder_, FolderPieces(PathUtil::GetFolderPath(ModelPath::FindIndex(folder_))));
}

ExitCode StreamVerb::Load(Console& console, const std::string& subject, const PieceSource& source) const {
  const std::unique_ptr<StreamModelLoader> loader =
      StreamModelLoaderFactory::Instance().Create(PieceDelivery::kLoader);
  if (!loader) {
    console.Error("", std::string("no stream loader \"") + PieceDelivery::kLoader + "\" is registered");
    return ExitCode::kInputUnread;
  }
  WindowlessViewer viewer;
  bool complete = false;
  {
    const LogRecorder log(console, subject);
    if (!PieceDelivery(source, seed_).HandOver(*loader) || !loader->End()) {
      return ExitCode::kInputUnread;
    }
    complete = log.GetFailureCount() == 0;
  }
  std::optional<Extras> extras;
  if (json_ && !ExtrasOpener::Open(console, subject, source, extras)) {
    complete = false;
  }
  if (!viewer.PrintScene(console, json_, depth_, extras ? &*extras : nullptr)) {
    console.Error("", "the tree could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return complete ? ExitCode::kDone : ExitCode::kInputUnread;
}

}  // namespace mirel

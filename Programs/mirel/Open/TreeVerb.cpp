#include <Programs/mirel/Open/TreeVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/ExtrasOpener.h>
#include <Programs/mirel/Open/NodeTreePrinter.h>
#include <Programs/mirel/Open/SceneOpener.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <CLI/CLI.hpp>

namespace mirel {

CLI::App* TreeVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand("tree", "Open a model folder and print its node tree");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file")->required();
  verb->add_option("--depth", depth_, "Print this many levels only")->check(&ArgumentCheck::IsPositiveCount);
  verb->add_flag("--json", json_, "Print the tree as JSON");
  module_.Declare(*verb);
  return verb;
}

ExitCode TreeVerb::Run(Console& console) {
  if (!module_.Load(console)) {
    return ExitCode::kInputUnread;
  }
  bool complete = false;
  const std::shared_ptr<GroupSceneNode> root = SceneOpener::Open(console, folder_, complete);
  if (!root) {
    return ExitCode::kInputUnread;
  }
  std::optional<Extras> extras;
  if (json_ && !ExtrasOpener::Open(console, folder_, extras)) {
    complete = false;
  }
  NodeTreePrinter printer(console, json_, depth_);
  printer.SetExtras(extras ? &*extras : nullptr);
  if (!printer.Print(*root)) {
    console.Error("", "the tree could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return complete ? ExitCode::kDone : ExitCode::kInputUnread;
}

}  // namespace mirel

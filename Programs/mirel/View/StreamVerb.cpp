#include <Programs/mirel/View/StreamVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ExtrasOpener.h>
#include <Programs/mirel/Open/SceneOpener.h>
#include <Programs/mirel/View/TarPieces.h>
#include <Programs/mirel/View/WindowlessViewer.h>
#include <Viewer/Kernel/Model/PackageCounts.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <random>
#include <set>
#include <utility>

namespace mirel {

namespace {

constexpr const char* kLoader = "Lite";
constexpr const char* kScene = "Scene";

bool HandOver(StreamModelLoader& loader, const char* kind, const RawBuffer& content) {
  return kind == kScene
             ? loader.LoadString(kind, std::string(content.GetData(), content.GetSize()))
             : loader.LoadData(kind, content.GetData(), static_cast<unsigned int>(content.GetSize()));
}

}  // namespace

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
  const std::string refusal = SceneOpener::Check(folder_);
  if (!refusal.empty()) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  return Load(console, folder_, FolderPieces(PathUtil::GetFolderPath(SceneOpener::FindIndex(folder_))));
}

void StreamVerb::Shuffle(std::vector<Piece>& pieces) const {
  std::mt19937_64 random(*seed_);
  for (std::size_t left = pieces.size(); left > 1; --left) {
    std::swap(pieces[left - 1], pieces[static_cast<std::size_t>(random() % left)]);
  }
}

std::vector<StreamVerb::Piece> StreamVerb::ListPieces(const PieceSource& source, const char* index) const {
  std::vector<Piece> pieces = {{"index.gz", kScene}};
  const auto addPackages = [&](const std::string& folder, const char* kind, std::uint32_t count) {
    const std::vector<std::uint32_t> present = source.ListPackages(folder);
    const std::set<std::uint32_t> isPresent(present.begin(), present.end());
    const PackageSearch search(present, count);
    for (const std::uint32_t number : search.numbers) {
      const std::string file = folder + "/" + FolderFiles::GetPackageName(number);
      if (isPresent.count(number) > 0) {
        pieces.push_back({file, kind});
      } else {
        Logger::Instance().Message(3, "%s is missing", file.c_str());
      }
    }
    if (search.leftOut > 0) {
      Logger::Instance().Message(3, "%u more packages of %s are missing", search.leftOut, folder.c_str());
    }
  };
  const PackageCounts counts(index);
  addPackages(FolderFiles::kGReps, "GRep", counts.greps);
  addPackages(FolderFiles::kShapes, "Shape", counts.shapes);
  if (seed_) {
    Shuffle(pieces);
  }
  return pieces;
}

bool StreamVerb::Deliver(const PieceSource& source, StreamModelLoader& loader) const {
  const std::shared_ptr<RawBuffer> index = source.Read("index.gz");
  if (!index) {
    Logger::Instance().Message(3, "index.gz cannot be read");
    return false;
  }
  loader.Begin();
  for (const Piece& piece : ListPieces(source, index->GetData())) {
    const bool isIndex = piece.kind == kScene;
    const std::shared_ptr<RawBuffer> content = isIndex ? index : source.Read(piece.file);
    if (content && HandOver(loader, piece.kind, *content)) {
      continue;
    }
    Logger::Instance().Message(3, content ? "%s is refused by the loader" : "%s cannot be read",
                               piece.file.c_str());
    if (isIndex) {
      return false;
    }
  }
  return loader.End();
}

ExitCode StreamVerb::Load(Console& console, const std::string& subject, const PieceSource& source) const {
  const std::unique_ptr<StreamModelLoader> loader = StreamModelLoaderFactory::Instance().Create(kLoader);
  if (!loader) {
    console.Error("", std::string("no stream loader \"") + kLoader + "\" is registered");
    return ExitCode::kInputUnread;
  }
  WindowlessViewer viewer;
  bool complete = false;
  {
    const LogRecorder log(console, subject);
    if (!Deliver(source, *loader)) {
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

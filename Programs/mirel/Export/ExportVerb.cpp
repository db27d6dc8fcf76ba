#include <Programs/mirel/Export/ExportVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Export/ExactExport.h>
#include <Programs/mirel/Export/GltfWriter.h>
#include <Programs/mirel/Export/TriangleFiles.h>
#include <Programs/mirel/Open/GraphicsOpener.h>
#include <Programs/mirel/Open/NodeSearch.h>
#include <Programs/mirel/Save/InputFolder.h>
#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Text/Plural.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <unordered_set>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr const char* kEndings[] = {".glb", ".gltf", ".stl", ".obj", ".ply", ".step", ".stp", ".brep"};

// In small letters.
std::string FindEnding(const std::string& path) {
  std::string ending = fs::u8path(path).extension().u8string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return ending;
}

std::string CheckEnding(const std::string& path) {
  const std::string ending = FindEnding(path);
  for (const char* const known : kEndings) {
    if (ending == known) {
      return "";
    }
  }
  return "the ending says what to write: .glb, .gltf, .stl, .obj, .ply, .step, .stp or .brep";
}

// Whether the exact bodies are written, not what is drawn of them.
bool IsExact(const std::string& ending) {
  return ending == ".step" || ending == ".stp" || ending == ".brep";
}

// Hides what is neither one of `kept` nor above or below one. Levels come from the file, so nothing is called in itself.
void HideOthers(SceneNode& root, const std::unordered_set<const SceneNode*>& kept) {
  std::unordered_set<const SceneNode*> above;
  for (const SceneNode* node : kept) {
    for (node = node->GetParent(); node != nullptr && above.insert(node).second; node = node->GetParent()) {
    }
  }
  std::vector<SceneNode*> open = {&root};
  while (!open.empty()) {
    SceneNode& node = *open.back();
    open.pop_back();
    if (kept.count(&node) > 0) {
      continue;
    }
    node.SetVisible(above.count(&node) > 0);
    for (const std::shared_ptr<SceneNode>& child : node.GetNodes()) {
      open.push_back(child.get());
    }
  }
}

}  // namespace

CLI::App* ExportVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("export", "Write a model as STEP, BRep, glTF, STL, OBJ or PLY");
  verb->add_option("FOLDER", input_, InputFolder::kWhatIsRead)->required();
  verb->add_option("OUT", output_, "File to write: .step, .stp, .brep, .glb, .gltf, .stl, .obj or .ply")
      ->required()
      ->check(&CheckEnding);
  verb->add_option("--only", only_, "Write these parts alone; ids or names")->type_name("ID");
  verb->add_flag("--edges", gltf_.edges, "glTF: with the sharp edges as lines");
  verb->add_flag("--faces", gltf_.faces, "glTF: keep every face a primitive of its own");
  verb->add_flag("--meshopt", gltf_.compress,
                 "glTF: compress (EXT_meshopt_compression, KHR_mesh_quantization)");
  verb->add_option("--schema", schema_, "STEP: ap242 or ap214")
      ->type_name("SCHEMA")
      ->default_str("ap242")
      ->check(CLI::IsMember({"ap242", "ap214"}));
  verb->add_flag("--strict", strict_, "End with exit code 4 when something could not be written");
  return verb;
}

ExitCode ExportVerb::Run(Console& console) {
  InputFolder folder;
  const ExitCode prepared = folder.Prepare(console, input_);
  if (prepared != ExitCode::kDone) {
    return prepared;
  }
  if (IsExact(FindEnding(output_))) {
    return WriteExact(console, folder.GetPath());
  }
  // Exact bodies are checked beside, as everywhere.
  GraphicsOpener opener(console, folder.GetPath());
  const std::shared_ptr<GroupSceneNode> root = opener.TakeRoot();
  if (!root || !KeepOnly(console, *root)) {
    return ExitCode::kInputUnread;
  }
  std::vector<File> files;
  std::uint64_t leftOut = 0;
  if (!MakeFiles(*root, files, leftOut)) {
    console.Error(output_, "the model is larger than the format allows");
    return ExitCode::kOutputUnwritten;
  }
  for (const auto& [path, content] : files) {
    std::string reason;
    if (!FileBytes::Replace(path, content, reason)) {
      console.Error(path, reason);
      return ExitCode::kOutputUnwritten;
    }
  }
  if (leftOut > 0) {
    console.Note(Plural::Count(leftOut, "part|parts") + " left out, of which " +
                 Plural::Choose("the placement is|the placements are", leftOut) + " not finite, or flat");
  }
  if (!opener.Finish()) {
    return ExitCode::kInputUnread;
  }
  return strict_ && leftOut > 0 ? ExitCode::kLosses : ExitCode::kDone;
}

ExitCode ExportVerb::WriteExact(Console& console, const std::string& folder) const {
  ExactExport::Options options;
  options.only = only_;
  options.isAp214 = schema_ == "ap214";
  options.isBRep = FindEnding(output_) == ".brep";
  ExactExport exact(console, options);
  const ExitCode result = exact.Run(input_, folder, output_);
  return result == ExitCode::kDone && strict_ && exact.HasLosses() ? ExitCode::kLosses : result;
}

bool ExportVerb::KeepOnly(Console& console, SceneNode& root) const {
  if (only_.empty()) {
    return true;
  }
  NodeSearch search(root);
  std::unordered_set<const SceneNode*> kept;
  for (const std::string& name : only_) {
    const std::vector<const SceneNode*> found = search.Find(name);
    if (found.empty()) {
      console.Error(input_, search.GetError());
      return false;
    }
    kept.insert(found.begin(), found.end());
  }
  HideOthers(root, kept);
  return true;
}

bool ExportVerb::MakeFiles(const SceneNode& root, std::vector<File>& files, std::uint64_t& leftOut) const {
  const std::string ending = FindEnding(output_);
  if (ending == ".glb" || ending == ".gltf") {
    const GltfWriter writer(root, gltf_);
    leftOut = writer.CountLeftOut();
    if (ending == ".glb") {
      return writer.MakeBinary(files.emplace_back(output_, "").second);
    }
    // The text is put in place last, as it makes the bytes visible.
    const fs::path bytes = fs::u8path(output_).replace_extension(".bin");
    files.emplace_back(bytes.u8string(), writer.GetBytes());
    files.emplace_back(output_, writer.MakeText(bytes.filename().u8string()));
    return true;
  }
  TriangleFiles writer(root);
  std::string& content = files.emplace_back(output_, "").second;
  const bool isMade = ending == ".stl"   ? writer.MakeStl(content)
                      : ending == ".obj" ? writer.MakeObj(content)
                                         : writer.MakePly(content);
  leftOut = writer.CountLeftOut();
  return isMade;
}

}  // namespace mirel

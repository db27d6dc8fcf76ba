#include <Programs/mirel/Open/InfoVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Extras/ExtrasText.h>
#include <Programs/mirel/Extras/ExtrasWriter.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ExtrasOpener.h>
#include <Programs/mirel/Open/ModelFigures.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Picture/PictureCall.h>
#include <Programs/mirel/Stopwatch.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/App/LiteVisualVisitor.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

namespace mirel {

namespace {

constexpr std::size_t kTypesShown = 20;

struct Bytes {
  const char* kind;
  std::uint64_t files = 0;
  std::uint64_t packed = 0;
  std::uint64_t inflated = 0;
};

// All that is told about a folder, for both forms of printing.
struct Findings {
  std::string path;
  std::vector<std::pair<const char*, std::uint64_t>> figures;
  std::vector<ModelFigures::TypeUse> types;  // the most used first
  std::vector<ModelFolder::File> files;
  std::vector<Bytes> kinds;
  std::vector<std::pair<const char*, double>> seconds;
  std::vector<std::pair<std::string, std::size_t>> failures;
};

std::vector<Bytes> SumByKind(const std::vector<ModelFolder::File>& files) {
  std::vector<Bytes> kinds = {{"index"}, {"grep"}, {"model"}};
  for (const ModelFolder::File& file : files) {
    for (Bytes& kind : kinds) {
      if (file.name.compare(0, std::string(kind.kind).size(), kind.kind) == 0) {
        ++kind.files;
        kind.packed += file.packedBytes;
        kind.inflated += file.bytes;
      }
    }
  }
  return kinds;
}

void Describe(const ModelFigures& figures, Findings& findings) {
  findings.figures = {
      {"groups", figures.groups},
      {"instances", figures.instances},
      {"shapeItems", figures.shapeItems},
      {"types", figures.types.size()},
      {"nodes", figures.nodes},
      {"depth", figures.depth},
      {"placedShapes", figures.placedShapes},
      {"placedTriangles", figures.placedTriangles},
      {"shapes", figures.shapes},
      {"graphics", figures.graphics},
      {"faces", figures.faces},
      {"coloredFaces", figures.coloredFaces},
      {"facesWithoutTriangles", figures.facesWithoutTriangles},
      {"edges", figures.edges},
      {"triangles", figures.triangles},
  };
  findings.types = figures.types;
  std::stable_sort(findings.types.begin(), findings.types.end(),
                   [](const auto& a, const auto& b) { return a.uses > b.uses; });
}

std::string ToText(const Findings& findings) {
  std::string text = Utf8::Printable(findings.path) + "\n\n";
  char line[200];
  for (const auto& figure : findings.figures) {
    std::snprintf(line, sizeof line, "%-22s %14llu\n", figure.first,
                  static_cast<unsigned long long>(figure.second));
    text += line;
  }
  if (!findings.types.empty()) {
    text += "\nuses of types:\n";
  }
  for (std::size_t i = 0; i < std::min(kTypesShown, findings.types.size()); ++i) {
    const ModelFigures::TypeUse& type = findings.types[i];
    std::snprintf(line, sizeof line, "%14llu ", static_cast<unsigned long long>(type.uses));
    text += line + type.kind + " \"" + Utf8::Printable(type.name) + "\" id " + type.id.toString() + "\n";
  }
  if (findings.types.size() > kTypesShown) {
    text += "               and " + std::to_string(findings.types.size() - kTypesShown) + " more\n";
  }
  std::snprintf(line, sizeof line, "\n%-22s %14s %14s\n", "bytes", "compressed", "inflated");
  text += line;
  const auto addBytes = [&](const std::string& name, std::uint64_t packed, std::uint64_t inflated) {
    std::snprintf(line, sizeof line, "%-22s %14llu %14llu\n", name.c_str(),
                  static_cast<unsigned long long>(packed), static_cast<unsigned long long>(inflated));
    text += line;
  };
  for (const ModelFolder::File& file : findings.files) {
    addBytes(file.name + (file.missing ? " (missing)" : ""), file.packedBytes, file.bytes);
  }
  Bytes all{"all"};
  for (const Bytes& kind : findings.kinds) {
    addBytes(std::string("all of ") + kind.kind, kind.packed, kind.inflated);
    all.packed += kind.packed;
    all.inflated += kind.inflated;
  }
  addBytes("all", all.packed, all.inflated);
  text += "\nseconds to open:";
  const char* separator = " ";
  for (const auto& stage : findings.seconds) {
    std::snprintf(line, sizeof line, "%s%s %.3f", separator, stage.first, stage.second);
    text += line;
    separator = ", ";
  }
  return text + "\n";
}

std::string ToJson(const Findings& findings) {
  JsonText json(true);
  json.BeginObject();
  json.Key("path");
  json.Text(findings.path);
  for (const auto& figure : findings.figures) {
    json.Key(figure.first);
    json.Unsigned(figure.second);
  }
  json.Key("typeUses");
  json.BeginArray();
  for (const ModelFigures::TypeUse& type : findings.types) {
    json.BeginObject();
    json.Key("id");
    json.Text(type.id.toString());
    json.Key("kind");
    json.Text(type.kind);
    json.Key("name");
    json.Text(type.name);
    json.Key("uses");
    json.Unsigned(type.uses);
    json.EndObject();
  }
  json.EndArray();
  json.Key("files");
  json.BeginArray();
  for (const ModelFolder::File& file : findings.files) {
    json.BeginObject();
    json.Key("name");
    json.Text(file.name);
    json.Key("missing");
    json.Bool(file.missing);
    json.Key("compressedBytes");
    json.Unsigned(file.packedBytes);
    json.Key("bytes");
    json.Unsigned(file.bytes);
    json.EndObject();
  }
  json.EndArray();
  json.Key("kinds");
  json.BeginObject();
  for (const Bytes& kind : findings.kinds) {
    json.Key(kind.kind);
    json.BeginObject();
    json.Key("files");
    json.Unsigned(kind.files);
    json.Key("compressedBytes");
    json.Unsigned(kind.packed);
    json.Key("bytes");
    json.Unsigned(kind.inflated);
    json.EndObject();
  }
  json.EndObject();
  json.Key("seconds");
  json.BeginObject();
  for (const auto& stage : findings.seconds) {
    json.Key(stage.first);
    json.Number(stage.second);
  }
  json.EndObject();
  json.Key("failures");
  json.BeginArray();
  for (const auto& failure : findings.failures) {
    json.BeginObject();
    json.Key("message");
    json.Text(failure.first);
    json.Key("count");
    json.Unsigned(failure.second);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace

CLI::App* InfoVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("info", "Tell what is in a model folder and how long it takes to open");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file")->required();
  verb->add_flag("--extras", extras_, "Print what the source says and the model has no place for, instead");
  verb->add_flag("--json", json_, "Print as JSON");
  verb->add_option("--picture", picture_.output, "Also draw it into this PNG file")->type_name("FILE");
  return verb;
}

ExitCode InfoVerb::Run(Console& console) {
  const std::string refusal = ModelPath::Check(folder_);
  if (!refusal.empty()) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  if (extras_) {
    return PrintExtras(console);
  }
  if (!picture_.output.empty() && !PictureCall::IsPossible(console)) {
    return ExitCode::kOutputUnwritten;
  }
  Findings findings;
  findings.path = folder_;
  ModelFolder folder;
  const auto root = std::make_shared<GroupSceneNode>();
  bool complete = false;
  {
    const LogRecorder log(console, folder_);
    if (!folder.Load(folder_)) {
      if (log.GetFailureCount() == 0) {
        console.Error(folder_, "is not a model folder: its index has no types and items");
      }
      return ExitCode::kInputUnread;
    }
    const ModelFolder::Times& times = folder.GetTimes();
    findings.seconds = {{"index", times.index}, {"graphics", times.graphics}, {"shapes", times.shapes}};
    const ModelFigures figures(folder.GetModel());
    Stopwatch watch;
    LiteVisualVisitor visitor(folder.GetModel(), nullptr, root);
    folder.GetModel().Apply(&visitor);
    findings.seconds.emplace_back("nodes", watch.Lap());
    Describe(figures, findings);
    findings.failures = log.GetFailures();
    complete = log.GetFailureCount() == 0;
  }
  findings.files = folder.GetFiles();
  findings.kinds = SumByKind(findings.files);
  if (!console.Data(json_ ? ToJson(findings) : ToText(findings))) {
    console.Error("", "the findings could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  if (!picture_.output.empty()) {
    const LogRecorder log(console, folder_);
    PictureReply reply;
    const ExitCode drawn = PictureCall::Draw(console, folder_, root, picture_, reply);
    if (drawn != ExitCode::kDone) {
      return drawn;
    }
  }
  return complete ? ExitCode::kDone : ExitCode::kInputUnread;
}

ExitCode InfoVerb::PrintExtras(Console& console) const {
  std::optional<Extras> extras;
  if (!ExtrasOpener::Open(console, folder_, extras)) {
    return ExitCode::kInputUnread;
  }
  extras = extras.value_or(Extras());
  if (!console.Data(json_ ? ExtrasWriter::ToJson(*extras) + "\n" : ExtrasText::Of(*extras))) {
    console.Error("", "the extras could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return ExitCode::kDone;
}

}  // namespace mirel

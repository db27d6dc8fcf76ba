#include <Programs/mirel/Check/CheckVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Plural.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {

namespace {

using Level = FolderCheck::Level;

const std::map<std::string, Level> kLevels = {{"index", Level::kIndex},
                                              {"packages", Level::kPackages},
                                              {"bodies", Level::kBodies},
                                              {"agreement", Level::kAgreement}};

// A folder that has lost its index is worth a look all the same.
bool HasPackages(const std::string& path) {
  std::error_code ignored;
  return fs::is_directory(fs::u8path(path) / "model", ignored) ||
         fs::is_directory(fs::u8path(path) / "grep", ignored);
}

// What the command line's library makes an enumerator of.
std::string NumberOfLevel(const std::string& name) {
  const auto level = kLevels.find(name);
  if (level == kLevels.end()) {
    throw CLI::ValidationError("\"" + name + "\" is none of index, packages, bodies and agreement");
  }
  return std::to_string(static_cast<int>(level->second));
}

const char* NameOf(Level level) {
  for (const auto& [name, value] : kLevels) {
    if (value == level) {
      return name.c_str();
    }
  }
  return "";
}

const char* Verdict(const FolderCheck& check) {
  const FindingList& findings = check.GetFindings();
  return !check.GetFigures().opens        ? "unusable"
         : findings.GetErrorCount() > 0   ? "damaged"
         : findings.GetWarningCount() > 0 ? "warnings"
                                          : "ok";
}

// What was met, as far as the level went.
std::string Met(const FolderCheck::Figures& figures, Level level) {
  std::string text =
      Plural::Count(figures.items, "item|items") + ", " + Plural::Count(figures.types, "type|types");
  if (level >= Level::kPackages) {
    text += ", " + Plural::Count(figures.packages, "package|packages") + ", " +
            Plural::Count(figures.bodies, "body|bodies") + ", " + std::to_string(figures.graphics) +
            " graphics";
  }
  if (level >= Level::kBodies) {
    text += ", " + Plural::Count(figures.faces, "face|faces");
  }
  if (level >= Level::kAgreement) {
    text += ", " + Plural::Count(figures.comparedPoints, "point|points") + " compared";
  }
  return text;
}

// What a damaged folder is still good for.
std::string Rest(const FolderCheck::Figures& figures, Level level) {
  if (!figures.opens) {
    return level < Level::kPackages
               ? std::string("cannot be opened\n")
               : "cannot be opened; its packages hold " + Plural::Count(figures.bodies, "body|bodies") +
                     " and " + std::to_string(figures.graphics) + " graphics that are sound\n";
  }
  if (level < Level::kPackages) {
    return "can be opened\n";
  }
  const std::string of = " of " + Plural::Count(figures.shapeItems, "shape item|items");
  return "can be opened: " + std::to_string(figures.drawnItems) + of + " drawn, " +
         std::to_string(figures.exactItems) + " with exact body\n";
}

std::string ToText(const FolderCheck& check, Level level) {
  const FindingList& findings = check.GetFindings();
  const FolderCheck::Figures& figures = check.GetFigures();
  std::string text = findings.ToText();
  if (findings.GetErrorCount() == 0) {
    text += "OK: " + Met(figures, level);
    return text + (findings.GetWarningCount() > 0
                       ? "; " + Plural::Count(findings.GetWarningCount(), "warning|warnings") + "\n"
                       : "\n");
  }
  text += "DAMAGED: " + Plural::Count(findings.GetErrorCount(), "error|errors") + ", " +
          Plural::Count(findings.GetWarningCount(), "warning|warnings") + "\n";
  return text + Rest(figures, level);
}

std::string ToJson(const FolderCheck& check, const std::string& path, Level level) {
  const FolderCheck::Figures& figures = check.GetFigures();
  JsonText json(true);
  json.BeginObject();
  json.Key("path");
  json.Text(path);
  json.Key("level");
  json.Text(NameOf(level));
  json.Key("verdict");
  json.Text(Verdict(check));
  json.Key("figures");
  json.BeginObject();
  for (const auto& [key, value] :
       std::vector<std::pair<const char*, std::uint64_t>>{{"items", figures.items},
                                                          {"types", figures.types},
                                                          {"packages", figures.packages},
                                                          {"bodies", figures.bodies},
                                                          {"graphics", figures.graphics},
                                                          {"shapeItems", figures.shapeItems},
                                                          {"drawnItems", figures.drawnItems},
                                                          {"exactItems", figures.exactItems},
                                                          {"faces", figures.faces},
                                                          {"comparedPoints", figures.comparedPoints}}) {
    json.Key(key);
    json.Unsigned(value);
  }
  json.EndObject();
  check.GetFindings().ToJson(json);
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace

CLI::App* CheckVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("check", "Tell whether a model folder is sound, and what is not");
  verb->add_option("FOLDER", folder_, "Model folder, or its index file")->required();
  verb->add_option("--level", level_, "How far to go: index, packages, bodies, or agreement, which is all")
      ->type_name("LEVEL")
      ->transform(&NumberOfLevel);
  verb->add_flag("--strict", strict_, "End with exit code 7 when there are warnings");
  verb->add_flag("--json", json_, "Print as JSON");
  return verb;
}

ExitCode CheckVerb::Run(Console& console) {
  const std::string refusal = ModelPath::Check(folder_);
  if (!refusal.empty() && !HasPackages(folder_)) {
    console.Error(folder_, refusal);
    return ExitCode::kInputUnread;
  }
  FolderCheck check(folder_);
  {
    Console::Progress progress(console);
    check.SetProgress(&progress.GetBar());
    check.Run(level_);
  }
  if (!console.Data(json_ ? ToJson(check, folder_, level_) : ToText(check, level_))) {
    console.Error("", "the findings could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  if (!check.GetFigures().opens) {
    return ExitCode::kInputUnread;
  }
  if (check.GetFindings().GetErrorCount() > 0) {
    return ExitCode::kDamaged;
  }
  return strict_ && check.GetFindings().GetWarningCount() > 0 ? ExitCode::kWarnings : ExitCode::kDone;
}

}  // namespace mirel

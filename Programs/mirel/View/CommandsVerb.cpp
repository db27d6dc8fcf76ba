#include <Programs/mirel/View/CommandsVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>
#include <Viewer/Kernel/Host/View/Command.h>
#include <Viewer/Kernel/Host/View/CommandManager.h>

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <vector>

namespace mirel {

namespace {

struct Registered {
  std::vector<std::string> commands;
  std::vector<std::map<std::string, std::string>> readers;  // the formats of each, by name
  std::vector<std::string> loaders;
};

Registered Collect() {
  Registered all;
  for (const std::shared_ptr<Command>& command : CommandManager::Instance().GetCommands()) {
    all.commands.push_back(command->GetName());
  }
  for (const std::shared_ptr<SceneReader>& reader : SceneExchangeManager::Instance().GetReaders()) {
    all.readers.emplace_back();
    reader->ListFormats(all.readers.back());
  }
  all.loaders = StreamModelLoaderFactory::Instance().GetKeys();
  return all;
}

std::string ToText(const Registered& all) {
  std::string text = "commands\n";
  for (const std::string& command : all.commands) {
    text += "  " + Utf8::Printable(command) + "\n";
  }
  text += "readers\n";
  for (const auto& formats : all.readers) {
    for (const auto& [name, pattern] : formats) {
      text += "  " + Utf8::Printable(name) + " " + Utf8::Printable(pattern) + "\n";
    }
  }
  text += "loaders\n";
  for (const std::string& loader : all.loaders) {
    text += "  " + Utf8::Printable(loader) + "\n";
  }
  return text;
}

void AddTexts(JsonText& json, const char* key, const std::vector<std::string>& texts) {
  json.Key(key);
  json.BeginArray();
  for (const std::string& text : texts) {
    json.Text(text);
  }
  json.EndArray();
}

std::string ToJson(const Registered& all) {
  JsonText json(true);
  json.BeginObject();
  AddTexts(json, "commands", all.commands);
  json.Key("readers");
  json.BeginArray();
  for (const auto& formats : all.readers) {
    json.BeginObject();
    json.Key("formats");
    json.BeginObject();
    for (const auto& [name, pattern] : formats) {
      json.Key(name);
      json.Text(pattern);
    }
    json.EndObject();
    json.EndObject();
  }
  json.EndArray();
  AddTexts(json, "loaders", all.loaders);
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace

CLI::App* CommandsVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("commands", "List what modules have registered: commands, readers, loaders");
  verb->add_flag("--json", json_, "Print the list as JSON");
  module_.Declare(*verb);
  return verb;
}

ExitCode CommandsVerb::Run(Console& console) {
  if (!module_.Load(console)) {
    return ExitCode::kInputUnread;
  }
  const Registered all = Collect();
  if (!console.Data(json_ ? ToJson(all) : ToText(all))) {
    console.Error("", "the list could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return ExitCode::kDone;
}

}  // namespace mirel

#include <Programs/mirel/Save/LossReport.h>

#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Plural.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace mirel {

namespace {

struct Row {
  const char* key;
  const char* text;
  std::uint64_t ModelCounts::*count;
};

constexpr Row kRows[] = {
    {"products", "products", &ModelCounts::products},
    {"instances", "instances", &ModelCounts::instances},
    {"placedShapes", "placed shapes", &ModelCounts::placedShapes},
    {"shapes", "distinct shapes", &ModelCounts::shapes},
    {"faces", "faces", &ModelCounts::faces},
    {"coloredItems", "coloured items", &ModelCounts::coloredItems},
    {"coloredFaces", "coloured faces", &ModelCounts::coloredFaces},
    {"names", "names", &ModelCounts::names},
};

MIREL_PRINTF_FORMAT(2, 3)
void AppendFormat(std::string& out, const char* format, ...) {
  char line[400];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  out += line;
}

// What happened of a list, under a heading.
void AppendCounts(std::string& out, const char* heading, const std::vector<LossReport::Loss>& counts) {
  bool headed = false;
  for (const LossReport::Loss& entry : counts) {
    if (entry.count == 0) {
      continue;
    }
    out += headed ? "" : "\n" + std::string(heading) + "\n";
    headed = true;
    AppendFormat(out, "%12llu %s\n", static_cast<unsigned long long>(entry.count),
                 Plural::Choose(entry.text, entry.count).c_str());
    for (const std::string& line : entry.details) {
      out += std::string(15, ' ') + Utf8::Printable(line) + "\n";
    }
  }
}

void AddCounts(JsonText& json, const char* key, const std::vector<LossReport::Loss>& counts) {
  json.Key(key);
  json.BeginObject();
  for (const LossReport::Loss& entry : counts) {
    json.Key(entry.key);
    json.Unsigned(entry.count);
  }
  json.EndObject();
}

}  // namespace

bool LossReport::HasLosses() const {
  return std::any_of(std::begin(kRows), std::end(kRows),
                     [this](const Row& row) { return source.*row.count != saved.*row.count; }) ||
         std::any_of(losses.begin(), losses.end(), [](const Loss& loss) { return loss.count > 0; });
}

std::string LossReport::ToText() const {
  std::string text;
  text += Utf8::Printable(input) + " -> " + Utf8::Printable(folder) + "\n\n";
  AppendFormat(text, "%-20s %12s %12s\n", "", "source", "saved");
  for (const Row& row : kRows) {
    const std::uint64_t before = source.*row.count;
    const std::uint64_t after = saved.*row.count;
    AppendFormat(text, "%-20s %12llu %12llu%s\n", row.text, static_cast<unsigned long long>(before),
                 static_cast<unsigned long long>(after), before == after ? "" : "  (differs)");
  }
  if (colorVariants > 0) {
    text +=
        "\n" +
        Plural::Count(colorVariants, "type|types was|were added to show products in more than one colour") +
        "\n";
  }
  AppendCounts(text, "kept beside the model, in extras.gz:", kept);
  AppendCounts(text, "not saved:", losses);
  AppendCounts(text, "without a loss:", remarks);
  if (!HasLosses()) {
    text += "\nnothing was lost\n";
  }
  text += "\nseconds:";
  const char* separator = " ";
  for (const auto& stage : seconds) {
    AppendFormat(text, "%s%s %.2f", separator, stage.first.c_str(), stage.second);
    separator = ", ";
  }
  AppendFormat(text, "\nbytes: %llu read, %llu written\n", static_cast<unsigned long long>(inputBytes),
               static_cast<unsigned long long>(folderBytes));
  return text;
}

std::string LossReport::ToJson() const {
  JsonText json(true);
  json.BeginObject();
  json.Key("input");
  json.Text(input);
  json.Key("format");
  json.Text(format);
  json.Key("inputBytes");
  json.Unsigned(inputBytes);
  json.Key("folder");
  json.Text(folder);
  json.Key("folderBytes");
  json.Unsigned(folderBytes);
  for (const auto& [key, counts] : {std::pair("source", &source), std::pair("saved", &saved)}) {
    json.Key(key);
    json.BeginObject();
    for (const Row& row : kRows) {
      json.Key(row.key);
      json.Unsigned(counts->*row.count);
    }
    json.EndObject();
  }
  json.Key("colorVariants");
  json.Unsigned(colorVariants);
  AddCounts(json, "kept", kept);
  AddCounts(json, "losses", losses);
  AddCounts(json, "remarks", remarks);
  json.Key("details");
  json.BeginObject();
  for (const Loss& loss : losses) {
    if (loss.details.empty()) {
      continue;
    }
    json.Key(loss.key);
    json.BeginArray();
    for (const std::string& line : loss.details) {
      json.Text(line);
    }
    json.EndArray();
  }
  json.EndObject();
  json.Key("hasLosses");
  json.Bool(HasLosses());
  json.Key("seconds");
  json.BeginObject();
  for (const auto& stage : seconds) {
    json.Key(stage.first);
    json.Number(stage.second);
  }
  json.EndObject();
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace mirel

#include <Bench/Report.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cmath>
#include <cstdio>

namespace mirel::bench {

namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

std::string Format(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

std::string Format(const Spread& spread, const Report::Column& column) {
  if (!std::isfinite(spread.value)) return "-";
  std::string text = Format(spread.value / column.perUnit, column.digits);
  if (column.showSpread) {
    text += " (" + Format(spread.low / column.perUnit, column.digits) + " - " +
            Format(spread.high / column.perUnit, column.digits) + ")";
  }
  return text;
}

void Write(Writer& writer, const Spread& spread) {
  if (!std::isfinite(spread.value) || !std::isfinite(spread.low) || !std::isfinite(spread.high)) {
    writer.Null();
    return;
  }
  writer.StartObject();
  writer.Key("median");
  writer.Double(spread.value);
  writer.Key("low");
  writer.Double(spread.low);
  writer.Key("high");
  writer.Double(spread.high);
  writer.EndObject();
}

}  // namespace

std::string Report::ToMarkdown() const {
  std::string text;
  for (const auto& [name, value] : facts_)
    text += "- " + name + ": " + value + "\n";
  for (const Table& table : tables_) {
    text += "\n### " + table.title + "\n\n| |";
    for (const Column& column : table.columns) {
      text += " " + column.name + (column.unit.empty() ? "" : ", " + column.unit) + " |";
    }
    text += "\n|---|";
    for (std::size_t i = 0; i < table.columns.size(); ++i)
      text += "---:|";
    text += "\n";
    for (const Row& row : table.rows) {
      text += "| " + row.name + " |";
      for (std::size_t i = 0; i < row.values.size(); ++i)
        text += " " + Format(row.values[i], table.columns[i]) + " |";
      text += "\n";
    }
  }
  text += "\n### Goals\n\n| what | goal | reached | |\n|---|---:|---:|---|\n";
  for (const Goal& goal : goals_) {
    text += "| " + goal.what + " | " + (goal.atMost ? "at most " : "at least ") + Format(goal.bound, 2) +
            " | " + Format(goal.reached, {"", "", 1.0, 2, true}) + " | " + (goal.IsMet() ? "met" : "missed") +
            " |\n";
  }
  return text;
}

std::string Report::ToJson() const {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.SetIndent(' ', 1);
  writer.StartObject();
  writer.Key("facts");
  writer.StartObject();
  for (const auto& [name, value] : facts_) {
    writer.Key(name.c_str());
    writer.String(value.c_str());
  }
  writer.EndObject();
  writer.Key("tables");
  writer.StartObject();
  for (const Table& table : tables_) {
    writer.Key(table.title.c_str());
    writer.StartObject();
    for (const Row& row : table.rows) {
      writer.Key(row.name.c_str());
      writer.StartObject();
      for (std::size_t i = 0; i < row.values.size(); ++i) {
        writer.Key(table.columns[i].name.c_str());
        Write(writer, row.values[i]);
      }
      writer.EndObject();
    }
    writer.EndObject();
  }
  writer.EndObject();
  writer.Key("goals");
  writer.StartArray();
  for (const Goal& goal : goals_) {
    writer.StartObject();
    writer.Key("what");
    writer.String(goal.what.c_str());
    writer.Key(goal.atMost ? "atMost" : "atLeast");
    writer.Double(goal.bound);
    writer.Key("reached");
    Write(writer, goal.reached);
    writer.Key("met");
    writer.Bool(goal.IsMet());
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
  return buffer.GetString();
}

}  // namespace mirel::bench

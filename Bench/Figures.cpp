#include <Bench/Figures.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>

namespace mirel::bench {

namespace {

auto Find(const std::vector<std::pair<std::string, double>>& all, const std::string& name) {
  return std::find_if(all.begin(), all.end(), [&](const auto& figure) { return figure.first == name; });
}

}  // namespace

void Figures::Set(const std::string& name, double value) {
  const auto found = Find(all_, name);
  if (found == all_.end()) {
    all_.emplace_back(name, value);
  } else {
    all_[static_cast<std::size_t>(found - all_.begin())].second = value;
  }
}

double Figures::Get(const std::string& name) const {
  const auto found = Find(all_, name);
  return found == all_.end() ? 0.0 : found->second;
}

bool Figures::Has(const std::string& name) const {
  return Find(all_, name) != all_.end();
}

std::string Figures::ToJson() const {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  for (const auto& [name, value] : all_) {
    writer.Key(name.c_str());
    writer.Double(value);
  }
  writer.EndObject();
  return buffer.GetString();
}

std::optional<Figures> Figures::FromJson(const std::string& line) {
  rapidjson::Document document;
  document.Parse(line.c_str());
  if (document.HasParseError() || !document.IsObject()) return std::nullopt;
  Figures figures;
  for (const auto& member : document.GetObject()) {
    if (!member.value.IsNumber()) return std::nullopt;
    figures.Set(member.name.GetString(), member.value.GetDouble());
  }
  return figures;
}

}  // namespace mirel::bench

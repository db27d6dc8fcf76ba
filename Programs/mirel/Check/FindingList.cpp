#include <Programs/mirel/Check/FindingList.h>

#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <algorithm>

namespace mirel {

namespace {

constexpr std::size_t kKeptPerCode = 1000;
constexpr std::size_t kPrintedPerCode = 20;

const char* NameOfSeverity(const CheckCodeEntry& entry) {
  return entry.isError ? "error" : "warning";
}

}  // namespace

void FindingList::Add(CheckCode code, const std::string& file, const std::string& text) {
  Entry& entry = entries_[static_cast<std::size_t>(code)];
  ++entry.count;
  ++(Describe(code).isError ? errors_ : warnings_);
  if (entry.kept.size() < kKeptPerCode) {
    entry.kept.push_back({file, text});
  }
}

std::string FindingList::ToText() const {
  std::string text;
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    const Entry& entry = entries_[i];
    const CheckCodeEntry& code = Describe(static_cast<CheckCode>(i));
    const std::size_t printed = std::min(entry.kept.size(), kPrintedPerCode);
    for (std::size_t k = 0; k < printed; ++k) {
      text += std::string(code.id) + " " + NameOfSeverity(code) + " ";
      Utf8::AppendPrintable(text, entry.kept[k].file);
      text += ": ";
      Utf8::AppendPrintable(text, entry.kept[k].text);
      text += "\n";
    }
    if (entry.count > printed) {
      text += std::string(code.id) + " ... and " + std::to_string(entry.count - printed) + " more\n";
    }
  }
  return text;
}

void FindingList::ToJson(JsonText& json) const {
  json.Key("errors");
  json.Unsigned(errors_);
  json.Key("warnings");
  json.Unsigned(warnings_);
  json.Key("counts");
  json.BeginObject();
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    if (entries_[i].count > 0) {
      json.Key(Describe(static_cast<CheckCode>(i)).id);
      json.Unsigned(entries_[i].count);
    }
  }
  json.EndObject();
  json.Key("findings");
  json.BeginArray();
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    const CheckCodeEntry& code = Describe(static_cast<CheckCode>(i));
    for (const Finding& finding : entries_[i].kept) {
      json.BeginObject();
      json.Key("code");
      json.Text(code.id);
      json.Key("severity");
      json.Text(NameOfSeverity(code));
      json.Key("file");
      json.Text(finding.file);
      json.Key("text");
      json.Text(finding.text);
      json.EndObject();
    }
  }
  json.EndArray();
}

}  // namespace mirel

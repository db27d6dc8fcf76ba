#include <Programs/mirel/Batch/FileResult.h>

#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Utf8.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <sstream>

namespace mirel {

namespace {

constexpr const char* kNames[] = {"saved",  "present", "unreadable", "unwritten", "crashed",  "timeout",
                                  "memory", "killed",  "sound",      "missing",   "outdated", "damaged"};

}  // namespace

bool FileResult::IsGood() const {
  return outcome == Outcome::kSaved || outcome == Outcome::kPresent || outcome == Outcome::kSound;
}

const char* FileResult::GetName(Outcome outcome) {
  return kNames[static_cast<std::size_t>(outcome)];
}

std::string FileResult::ToReply() const {
  std::string reply = std::to_string(static_cast<int>(outcome)) + (hasLosses ? " 1" : " 0");
  for (const auto& [key, count] : losses) {
    reply += " " + key + " " + std::to_string(count);
  }
  return reply;
}

void FileResult::TakeReply(const std::string& reply) {
  std::istringstream stream(reply);
  std::size_t number = 0;
  if (!(stream >> number >> hasLosses) || number >= std::size(kNames)) {
    outcome = Outcome::kCrashed;
    return;
  }
  outcome = static_cast<Outcome>(number);
  std::string key;
  for (std::uint64_t count = 0; stream >> key >> count;) {
    losses.emplace_back(key, count);
  }
}

std::string FileResult::ToJson() const {
  JsonText json(false);
  json.BeginObject();
  json.Key("file");
  json.Text(file);
  json.Key("folder");
  json.Text(folder);
  json.Key("outcome");
  json.Text(GetName(outcome));
  json.Key("seconds");
  json.Number(std::round(seconds * 1000.0) / 1000.0);
  json.Key("memory");
  json.Unsigned(memory);
  json.Key("hasLosses");
  json.Bool(hasLosses);
  json.Key("losses");
  json.BeginObject();
  for (const auto& [key, count] : losses) {
    json.Key(key);
    json.Unsigned(count);
  }
  json.EndObject();
  json.Key("messages");
  json.BeginArray();
  for (const std::string& message : messages) {
    json.Text(message);
  }
  json.EndArray();
  json.EndObject();
  return json.GetText() + "\n";
}

std::string FileResult::ToText() const {
  char said[64];
  std::snprintf(said, sizeof said, "%-8s %6.2f s %6llu MB  ", GetName(outcome), seconds,
                static_cast<unsigned long long>(memory / 1'000'000));
  return said + Utf8::Printable(file) + " -> " + Utf8::Printable(folder) +
         (hasLosses ? "  (not all of it)\n" : "\n");
}

}  // namespace mirel

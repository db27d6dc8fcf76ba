#include <Programs/mirel/Save/SourceRecord.h>

#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Seal/FolderSeal.h>
#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace mirel {

namespace {

constexpr unsigned int kVersion = 1;
constexpr std::uint64_t kMaxBytes = 16 << 20;

using rapidjson::Value;

const Value* Find(const Value& object, const char* name) {
  const auto member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

bool Take(const Value& object, const char* name, std::string& text) {
  const Value* const value = Find(object, name);
  if (value == nullptr || !value->IsString()) {
    return false;
  }
  text.assign(value->GetString(), value->GetStringLength());
  return true;
}

// A file beside another one.
std::string Beside(const std::string& source, const std::string& name) {
  return (std::filesystem::u8path(source).parent_path() / std::filesystem::u8path(name)).u8string();
}

std::string SumOfOther(const std::string& source, const std::string& name) {
  std::string ignored;
  return SourceRecord::Sum(Beside(source, name), ignored);
}

}  // namespace

bool SourceRecord::Read(const std::string& folder) {
  std::string text;
  std::string reason;
  const auto take = [&](const char* bytes, std::size_t size) { text.append(bytes, size); };
  if (!FileBytes::Read(folder + FolderFiles::kSource, kMaxBytes, take, reason)) {
    return false;
  }
  rapidjson::Document root;
  root.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (root.HasParseError() || !root.IsObject()) {
    return false;
  }
  const Value* const version = Find(root, "Version");
  const Value* const seconds = Find(root, "Patience");
  const Value* const isVerified = Find(root, "Verified");
  const Value* const list = Find(root, "Files");
  if (version == nullptr || !version->IsUint() || version->GetUint() != kVersion || seconds == nullptr ||
      !seconds->IsNumber() || isVerified == nullptr || !isVerified->IsBool() || list == nullptr ||
      !list->IsArray() || list->Empty() || !Take(root, "Program", program)) {
    return false;
  }
  patience = seconds->GetDouble();
  verified = isVerified->GetBool();
  files.clear();
  return std::all_of(list->Begin(), list->End(), [this](const Value& value) {
    File file;
    const bool good =
        value.IsObject() && Take(value, "Name", file.name) && Take(value, "Sha256", file.sha256);
    files.push_back(std::move(file));
    return good;
  });
}

bool SourceRecord::Write(const std::string& folder, std::string& reason) const {
  JsonText json(false);
  json.BeginObject();
  json.Key("Version");
  json.Unsigned(kVersion);
  json.Key("Program");
  json.Text(program);
  json.Key("Patience");
  json.Number(patience);
  json.Key("Verified");
  json.Bool(verified);
  json.Key("Files");
  json.BeginArray();
  for (const File& file : files) {
    json.BeginObject();
    json.Key("Name");
    json.Text(file.name);
    json.Key("Sha256");
    json.Text(file.sha256);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return FileBytes::Write(folder + FolderFiles::kSource, json.GetText() + "\n", reason);
}

std::string SourceRecord::Sum(const std::string& path, std::string& reason) {
  std::string sum;
  return FolderSeal::Compute(path, UINT64_MAX, sum, reason) ? sum : std::string();
}

void SourceRecord::AddOther(const std::string& source, const std::string& name) {
  files.push_back({name, SumOfOther(source, name)});
}

bool SourceRecord::IsCurrent(const SourceRecord& wanted, const std::string& source) const {
  return program == wanted.program && patience == wanted.patience && (verified || !wanted.verified) &&
         files.front().sha256 == wanted.files.front().sha256 &&
         std::all_of(files.begin() + 1, files.end(),
                     [&](const File& other) { return SumOfOther(source, other.name) == other.sha256; });
}

}  // namespace mirel

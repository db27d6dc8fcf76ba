#include <Programs/mirel/Batch/InputList.h>

#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Seal/FileBytes.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr std::uint64_t kMaxListBytes = std::uint64_t{4} << 30;

// A path that leads to the same file, and is the same for all paths that obviously do.
fs::path Normal(const std::string& path) {
  const fs::path normal = fs::u8path(path).lexically_normal();
  if (normal.is_relative() && *normal.begin() != "..") {
    return normal;
  }
  std::error_code ignored;
  return fs::absolute(normal, ignored).lexically_normal();
}

bool IsHidden(const fs::path& path) {
  return path.filename().u8string()[0] == '.';
}

}  // namespace

InputList::InputList(const std::string& into, bool recursive) : into_(into), recursive_(recursive) {}

void InputList::Add(const std::string& path) {
  std::error_code ignored;
  if (recursive_ && fs::is_directory(fs::u8path(path), ignored)) {
    AddFolder(path);
  } else {
    AddFile(path, "");
  }
}

void InputList::AddFile(const std::string& path, const std::string& error) {
  const fs::path normal = Normal(path);
  const std::string place = normal.relative_path().u8string();
  const auto other = places_.lower_bound({place, ""});
  const bool isTaken = other != places_.end() && other->first == place;
  if (isTaken && other->second == normal.u8string()) {
    return;
  }
  if (isTaken && clash_.empty()) {
    clash_ = "\"" + path + "\" and \"" + other->second + "\" would go into one folder; convert them apart";
  }
  places_.emplace(place, normal.u8string());
  std::error_code unknown;
  const std::uintmax_t bytes = fs::file_size(fs::u8path(path), unknown);
  inputs_.push_back({path, normal.u8string(), (fs::u8path(into_) / place).lexically_normal().u8string(),
                     unknown ? 0 : static_cast<std::uint64_t>(bytes), error});
}

void InputList::AddFolder(const std::string& path) {
  std::error_code failure;
  std::error_code ignored;
  std::vector<fs::path> entries;
  fs::directory_iterator entry(fs::u8path(path), failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    entries.push_back(entry->path());
  }
  if (failure) {
    AddFile(path, "cannot be listed: " + failure.message());
  }
  std::sort(entries.begin(), entries.end());
  for (const fs::path& found : entries) {
    const bool isOutput = fs::equivalent(found, fs::u8path(into_), ignored);
    if (IsHidden(found) || isOutput) {
      continue;
    }
    if (fs::symlink_status(found, ignored).type() == fs::file_type::directory) {
      AddFolder(found.u8string());
    } else if (SourceFile::GetFormatByName(found.u8string()) != SourceFile::Format::kUnknown &&
               fs::is_regular_file(found, ignored)) {
      AddFile(found.u8string(), "");
    }
  }
}

bool InputList::AddFrom(const std::string& list, std::string& reason) {
  std::string text;
  const auto take = [&](const char* bytes, std::size_t size) { text.append(bytes, size); };
  if (list == "-") {
    char block[1 << 16];
    for (std::size_t count = 0; (count = std::fread(block, 1, sizeof block, stdin)) > 0;) {
      take(block, count);
    }
    if (std::ferror(stdin) != 0) {
      reason = "cannot be read to its end";
      return false;
    }
  } else if (!FileBytes::Read(list, kMaxListBytes, take, reason)) {
    return false;
  }
  AddText(text);
  return true;
}

void InputList::AddText(const std::string& text) {
  const char end = text.find('\0') == std::string::npos ? '\n' : '\0';
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t next = std::min(text.find(end, at), text.size());
    std::string path = text.substr(at, next - at);
    if (end == '\n' && !path.empty() && path.back() == '\r') {
      path.pop_back();
    }
    if (!path.empty()) {
      Add(path);
    }
    at = next + 1;
  }
}

}  // namespace mirel

#include <Programs/mirel/Web/PageTemplate.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/ProgramFolder.h>
#include <Programs/mirel/Seal/FileBytes.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr std::uint64_t kMaxBytes = 1 << 26;

// Whether a text would end, or change the meaning of, a script element that it stands in.
bool EndsElement(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text.find("</script") != std::string::npos || text.find("<!--") != std::string::npos;
}

bool ReadFile(Console& console, const std::string& path, std::string& content) {
  content.clear();
  std::string reason;
  const auto take = [&](const char* bytes, std::size_t size) { content.append(bytes, size); };
  if (FileBytes::Read(path, kMaxBytes, take, reason)) {
    return true;
  }
  console.Error("", "the viewer for web pages needs " + path + ", which cannot be read: " + reason);
  std::error_code failure;
  if (!fs::exists(fs::u8path(path), failure)) {
    console.ErrorDetail(
        "install the package mirel, or build with node and npm on the machine: cmake --build BUILD --target "
        "MirelWeb");
  }
  return false;
}

}  // namespace

bool PageTemplate::Read(Console& console) {
  const fs::path program = ProgramFolder::Find();
  if (program.empty()) {
    console.Error("",
                  "the viewer for web pages is not found: the system does not tell where this program is");
    return false;
  }
  const std::string folder = (program / fs::u8path(MIREL_WEB_FOLDER) / "").lexically_normal().u8string();
  if (!ReadFile(console, folder + kScript, script) || !ReadFile(console, folder + kPage, html)) {
    return false;
  }
  if (EndsElement(script)) {
    console.Error(folder + kScript, "cannot stand in a page");
    return false;
  }
  return true;
}

}  // namespace mirel

#include <Tests/Support/TestFolder.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Gzip/ogzstream.h>

#include <fstream>
#include <iterator>
#include <set>

namespace mirel {

namespace fs = std::filesystem;

TestFolder::TestFolder(const std::string& parent) {
  const fs::path where =
      fs::is_directory(fs::u8path(parent)) ? fs::u8path(parent) : fs::temp_directory_path();
  const fs::path folder =
      where / fs::u8path("mirel-" + ObjectId::NewId().toString()) / fs::u8path(u8"设计-Größe");
  fs::create_directories(folder);
  path_ = folder.u8string() + "/";
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  fs::remove_all(GetFsPath().parent_path().parent_path(), ignored);
}

std::string TestFolder::ListFiles() const {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(GetFsPath())) {
    if (!entry.is_directory()) names.insert(fs::relative(entry.path(), GetFsPath()).generic_u8string());
  }
  std::string list;
  for (const std::string& name : names)
    list += (list.empty() ? "" : " ") + name;
  return list;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(fs::u8path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream file(fs::u8path(path), std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
}

std::string Inflate(const std::string& path) {
  const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(path);
  return buffer ? std::string(buffer->GetData(), buffer->GetSize()) : "<none>";
}

void WriteGzip(const std::string& path, const std::string& content) {
  ogzstream stream(path.c_str(), static_cast<int>(std::ios_base::out));
  stream.write_str(content);
}

FileContents ReadFiles(const std::string& folder) {
  FileContents files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(
           fs::u8path(folder), fs::directory_options::follow_directory_symlink)) {
    if (entry.is_directory()) continue;
    files[entry.path().lexically_relative(fs::u8path(folder)).generic_u8string()] =
        ReadFile(entry.path().u8string());
  }
  return files;
}

FileContents WithoutHidden(FileContents files) {
  for (auto file = files.begin(); file != files.end();)
    file = ("/" + file->first).find("/.") != std::string::npos ? files.erase(file) : std::next(file);
  return files;
}

}  // namespace mirel

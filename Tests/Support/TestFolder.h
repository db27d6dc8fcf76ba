#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace mirel {

/// A new, empty folder of a test's own, with a name that is not ASCII; removed with everything in it at the end.
class TestFolder {
 public:
  /// In the system's folder for temporary files or, where it exists, in another one.
  explicit TestFolder(const std::string& parent = std::string());
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  /// The narrow (UTF-8) path, ending with a separator.
  const std::string& GetPath() const { return path_; }
  std::filesystem::path GetFsPath() const { return std::filesystem::u8path(path_); }

  /// Names of all files below the folder, relative to it, sorted.
  std::string ListFiles() const;

 private:
  std::string path_;
};

/// Whole files, as bytes. Reading a file that is not there gives an empty string.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

/// The inflated content of a gzip file; "<none>" when there is none.
std::string Inflate(const std::string& path);
/// Writes a gzip file, the way the host does.
void WriteGzip(const std::string& path, const std::string& content);

/// All files below a folder by their names relative to it, with their content; those behind links too.
using FileContents = std::map<std::string, std::string>;
FileContents ReadFiles(const std::string& folder);
/// Those of them that lie in no hidden folder: what a reader of a model folder may look at.
FileContents WithoutHidden(FileContents files);

}  // namespace mirel

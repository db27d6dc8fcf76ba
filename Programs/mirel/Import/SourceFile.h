#pragma once

#include <cstdint>
#include <string>

namespace mirel {

/// The file that an assembly is read from.
///
/// The format is told by the extension, in any case, and by the first bytes when the extension says nothing.
/// A file whose name ends with ".gz" is inflated into a temporary file first, which lives as long as this
/// object.
class SourceFile {
 public:
  enum class Format { kUnknown, kStep, kIges, kBrep };

  /// Looks at the file at a narrow path (UTF-8). `GetError` says whether that went well.
  explicit SourceFile(std::string path);
  ~SourceFile();

  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;

  /// Why the file cannot be used; empty when it can.
  const std::string& GetError() const { return error_; }

  /// The path as it was given.
  const std::string& GetPath() const { return path_; }

  /// The path to read from; another one when the file was compressed.
  const std::string& GetReadPath() const { return readPath_; }

  /// The file's name without its folder and extensions.
  std::string GetStem() const;

  Format GetFormat() const { return format_; }
  static const char* GetFormatName(Format format);

  /// The file's size in bytes, inflated.
  std::uint64_t GetSize() const { return size_; }

  /// A number made from every byte of the content: two different files practically never have the same.
  std::uint64_t GetFingerprint() const { return fingerprint_; }

  /// The whole content; false when it could not be read.
  bool ReadAll(std::string& content) const;

 private:
  bool Inflate();
  bool Scan(std::string& head);

  std::string path_;
  std::string readPath_;
  std::string error_;
  Format format_ = Format::kUnknown;
  std::uint64_t size_ = 0;
  std::uint64_t fingerprint_ = 0;
  bool temporary_ = false;
};

}  // namespace mirel

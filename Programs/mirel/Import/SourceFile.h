#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace mirel {

class UnnamedFile;

/// The file that an assembly is read from.
///
/// The format is told by the extension, in any case, and by the first bytes when the extension says nothing. Content that
/// is compressed with gzip, whatever the name, is inflated first, and a byte-order mark before it is passed over; what is
/// read is then an unnamed copy, which goes with this object and with the process.
class SourceFile {
 public:
  enum class Format { kUnknown, kStep, kIges, kBrep };

  /// Looks at the file at a narrow path (UTF-8), if it is a regular file or a link to one. `GetError` says whether that went
  /// well.
  explicit SourceFile(std::string path);
  ~SourceFile();

  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;

  /// Why the file cannot be used; empty when it can.
  const std::string& GetError() const { return error_; }

  /// The path as it was given: the file's name for messages, and the place beside which other files are that it refers to.
  const std::string& GetPath() const { return path_; }

  /// The path to read the content from; another one when that is a copy.
  const std::string& GetReadPath() const { return readPath_; }

  /// The file's name without its folder and extensions.
  std::string GetStem() const;

  Format GetFormat() const { return format_; }
  static const char* GetFormatName(Format format);

  /// The format that a file's name tells, also when it says that the file is compressed (".step.gz", ".stpz").
  static Format GetFormatByName(const std::string& path);

  /// Why what a path leads to is no file that can be read; empty when it is a regular file, or a link to one.
  static std::string WhyNoFile(const std::string& path);

  /// The size of the content in bytes, inflated.
  std::uint64_t GetSize() const { return size_; }

  /// A number made from every byte of the content: two different files practically never have the same.
  std::uint64_t GetFingerprint() const { return fingerprint_; }

  /// The whole content; false when it could not be read.
  bool ReadAll(std::string& content) const;

 private:
  bool IsCompressed(const std::string& extension) const;
  bool Inflate();
  bool SkipMark(std::string& head);
  bool ReadCopy(const char* data, std::size_t size);
  bool Scan(std::string& head);

  std::string path_;
  std::string readPath_;
  std::unique_ptr<UnnamedFile> copy_;
  std::string error_;
  Format format_ = Format::kUnknown;
  std::uint64_t size_ = 0;
  std::uint64_t fingerprint_ = 0;
};

}  // namespace mirel

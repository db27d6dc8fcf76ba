#include <Programs/mirel/Import/SourceFile.h>

#include <Programs/mirel/Import/IdSequence.h>
#include <Programs/mirel/Import/UnnamedFile.h>
#include <Programs/mirel/LogNotes.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;  // a multiple of 8: the fingerprint takes whole words
constexpr std::string_view kGzipMagic = "\x1f\x8b";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string LowerExtension(const fs::path& path) {
  std::string extension = path.extension().u8string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

SourceFile::Format FormatByExtension(const std::string& extension) {
  if (extension == ".step" || extension == ".stp" || extension == ".p21") {
    return SourceFile::Format::kStep;
  }
  if (extension == ".iges" || extension == ".igs") {
    return SourceFile::Format::kIges;
  }
  if (extension == ".brep" || extension == ".brp") {
    return SourceFile::Format::kBrep;
  }
  return SourceFile::Format::kUnknown;
}

// The first line of an IGES file has its section letter and line number in columns 73 to 80. Some programs fill the number
// with blanks, some with zeros.
bool IsIgesLine(const std::string& head) {
  const std::size_t lineEnd = head.find('\n');
  return lineEnd != std::string::npos && lineEnd >= 80 && head[72] == 'S' && head[79] == '1' &&
         head.find_first_not_of(" 0", 73) == 79;
}

SourceFile::Format FormatByContent(const std::string& head) {
  const std::size_t start = head.find_first_not_of(" \t\r\n");
  if (start == std::string::npos) {
    return SourceFile::Format::kUnknown;
  }
  if (head.compare(start, 12, "ISO-10303-21") == 0) {
    return SourceFile::Format::kStep;
  }
  if (head.compare(start, 10, "DBRep_Draw") == 0 || head.compare(start, 16, "CASCADE Topology") == 0 ||
      head.compare(start, 21, "Open CASCADE Topology") == 0) {
    return SourceFile::Format::kBrep;
  }
  return IsIgesLine(head) ? SourceFile::Format::kIges : SourceFile::Format::kUnknown;
}

}  // namespace

const char* SourceFile::GetFormatName(Format format) {
  switch (format) {
  case Format::kStep:
    return "STEP";
  case Format::kIges:
    return "IGES";
  case Format::kBrep:
    return "BRep";
  case Format::kUnknown:
    break;
  }
  return "unknown";
}

SourceFile::Format SourceFile::GetFormatByName(const std::string& path) {
  const fs::path file = fs::u8path(path);
  std::string extension = LowerExtension(file);
  if (extension == ".gz") {
    extension = LowerExtension(file.stem());
  } else if (extension == ".stpz") {
    return Format::kStep;
  }
  return FormatByExtension(extension);
}

std::string SourceFile::WhyNoFile(const std::string& path) {
  std::error_code failure;
  const fs::file_status status = fs::status(fs::u8path(path), failure);
  if (!fs::exists(status)) {
    return status.type() == fs::file_type::not_found ? "no such file" : failure.message();
  }
  if (fs::is_directory(status)) {
    return "is a folder, not a file";
  }
  // A pipe would keep whoever reads it waiting, a device might never end.
  return fs::is_regular_file(status) ? "" : "not a regular file";
}

SourceFile::SourceFile(std::string path) : path_(std::move(path)), readPath_(path_) {
  error_ = WhyNoFile(path_);
  if (!error_.empty()) {
    return;
  }
  const fs::path file = fs::u8path(path_);
  std::string extension = LowerExtension(file);
  const bool compressed = IsCompressed(extension);
  if (extension == ".gz") {
    extension = LowerExtension(file.stem());
  }
  std::string head;
  if ((compressed && !Inflate()) || !Scan(head) || !SkipMark(head)) {
    return;
  }
  if (size_ == 0) {
    error_ = "the file is empty";
    return;
  }
  format_ = FormatByExtension(extension);
  if (format_ == Format::kUnknown) {
    format_ = FormatByContent(head);
  }
  if (format_ == Format::kUnknown) {
    error_ = "neither its name nor its content tells a STEP, IGES or BRep file";
  }
}

SourceFile::~SourceFile() = default;

std::string SourceFile::GetStem() const {
  fs::path name = fs::u8path(path_).filename();
  if (LowerExtension(name) == ".gz") {
    name = name.stem();
  }
  return FormatByExtension(LowerExtension(name)) == Format::kUnknown ? name.u8string()
                                                                     : name.stem().u8string();
}

bool SourceFile::IsCompressed(const std::string& extension) const {
  char begin[kGzipMagic.size()] = {};
  std::ifstream(fs::u8path(path_), std::ios::binary).read(begin, sizeof begin);
  return extension == ".gz" || std::string_view(begin, sizeof begin) == kGzipMagic;
}

bool SourceFile::Inflate() {
  LogNotes notes;
  const std::shared_ptr<RawBuffer> content = GzBuffer::FromFile(path_);
  if (!content) {
    error_ = "cannot be inflated: " + notes.TakeReason(path_);
    return false;
  }
  return ReadCopy(content->GetData(), content->GetSize());
}

// Some editors put a byte-order mark before the text, and no reader expects one.
bool SourceFile::SkipMark(std::string& head) {
  if (head.compare(0, kByteOrderMark.size(), kByteOrderMark) != 0) {
    return true;
  }
  std::string content;
  if (!ReadAll(content)) {
    error_ = "cannot be read to its end";
    return false;
  }
  return ReadCopy(content.data() + kByteOrderMark.size(), content.size() - kByteOrderMark.size()) &&
         Scan(head);
}

// From here on, the content is what these bytes are.
bool SourceFile::ReadCopy(const char* data, std::size_t size) {
  auto copy = std::make_unique<UnnamedFile>(data, size);
  if (!copy->GetError().empty()) {
    error_ = "no copy can be made of its content: " + copy->GetError();
    return false;
  }
  copy_ = std::move(copy);
  readPath_ = copy_->GetPath();
  return true;
}

bool SourceFile::Scan(std::string& head) {
  std::ifstream stream(fs::u8path(readPath_), std::ios::binary);
  if (!stream) {
    error_ = std::strerror(errno);
    return false;
  }
  std::vector<char> block(kBlock);
  std::uint64_t hash = 0;
  size_ = 0;
  while (stream) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    const std::size_t count = static_cast<std::size_t>(stream.gcount());
    if (size_ == 0) {
      head.assign(block.data(), std::min<std::size_t>(count, 1024));
    }
    size_ += count;
    for (std::size_t at = 0; at < count; at += 8) {
      std::uint64_t word = 0;
      std::memcpy(&word, block.data() + at, std::min<std::size_t>(8, count - at));
      hash = IdSequence::Mix(hash ^ word);
    }
  }
  if (stream.bad()) {
    error_ = "cannot be read to its end";
    return false;
  }
  fingerprint_ = IdSequence::Mix(hash ^ size_);
  return true;
}

bool SourceFile::ReadAll(std::string& content) const {
  std::ifstream stream(fs::u8path(readPath_), std::ios::binary);
  content.resize(static_cast<std::size_t>(size_));
  stream.read(content.data(), static_cast<std::streamsize>(content.size()));
  return stream.gcount() == static_cast<std::streamsize>(content.size());
}

}  // namespace mirel

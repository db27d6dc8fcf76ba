#include <Programs/mirel/Import/SourceFile.h>

#include <Programs/mirel/Import/IdSequence.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;  // a multiple of 8: the fingerprint takes whole words

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

SourceFile::Format FormatByContent(const std::string& head) {
  const std::size_t start = head.find_first_not_of(" \t\r\n");
  if (start == std::string::npos) {
    return SourceFile::Format::kUnknown;
  }
  if (head.compare(start, 12, "ISO-10303-21") == 0) {
    return SourceFile::Format::kStep;
  }
  if (head.compare(start, 10, "DBRep_Draw") == 0 || head.compare(start, 16, "CASCADE Topology") == 0) {
    return SourceFile::Format::kBrep;
  }
  // The first line of an IGES file has its section letter and line number in columns 73 to 80.
  const std::size_t lineEnd = head.find('\n');
  if (lineEnd != std::string::npos && lineEnd >= 80 && head[72] == 'S' &&
      head.compare(73, 7, "      1") == 0) {
    return SourceFile::Format::kIges;
  }
  return SourceFile::Format::kUnknown;
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

SourceFile::SourceFile(std::string path) : path_(std::move(path)), readPath_(path_) {
  std::error_code failure;
  const fs::path file = fs::u8path(path_);
  const fs::file_status status = fs::status(file, failure);
  if (!fs::exists(status)) {
    error_ = status.type() == fs::file_type::not_found ? "no such file" : failure.message();
    return;
  }
  if (fs::is_directory(status)) {
    error_ = "is a folder, not a file";
    return;
  }
  std::string extension = LowerExtension(file);
  if (extension == ".gz") {
    extension = LowerExtension(file.stem());
    if (!Inflate()) {
      return;
    }
  }
  std::string head;
  if (!Scan(head)) {
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

SourceFile::~SourceFile() {
  if (temporary_) {
    std::error_code ignored;
    fs::remove(fs::u8path(readPath_), ignored);
  }
}

std::string SourceFile::GetStem() const {
  fs::path name = fs::u8path(path_).filename();
  if (LowerExtension(name) == ".gz") {
    name = name.stem();
  }
  return FormatByExtension(LowerExtension(name)) == Format::kUnknown ? name.u8string()
                                                                     : name.stem().u8string();
}

bool SourceFile::Inflate() {
  const std::shared_ptr<RawBuffer> content = GzBuffer::FromFile(path_);
  if (!content) {
    error_ = "cannot be inflated";
    return false;
  }
  std::error_code failure;
  std::random_device random;
  const fs::path folder = fs::temp_directory_path(failure);
  const fs::path file = folder / ("mirel-" + std::to_string(random()) + std::to_string(random()));
  std::ofstream stream(file, std::ios::binary);
  temporary_ = stream.is_open();
  readPath_ = file.u8string();
  stream.write(content->GetData(), static_cast<std::streamsize>(content->GetSize()));
  stream.close();
  if (failure || !stream) {
    error_ = "cannot be inflated into " + readPath_;
    return false;
  }
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

#include <Programs/mirel/View/TarPieces.h>

#include <Programs/mirel/Extras/ExtrasReader.h>

#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace fs = std::filesystem;

namespace mirel {

namespace {

struct ReaderDeleter {
  void operator()(archive* reader) const { archive_read_free(reader); }
};

// What a member is in a model folder, by the end of its path; empty when it is nothing there.
std::string GetPieceName(const std::string& path) {
  const auto startOfLast = [&](std::size_t end) {
    const std::size_t slash = end == 0 ? std::string::npos : path.rfind('/', end - 1);
    return slash == std::string::npos ? 0 : slash + 1;
  };
  const std::size_t file = startOfLast(path.size());
  std::string name = path.substr(file);
  if (name == FolderFiles::kIndex || name == FolderFiles::kExtras) {
    return name;
  }
  const std::size_t digits = name.size() > 3 ? name.size() - 3 : 0;
  if (file == 0 || digits == 0 || name.compare(digits, 3, ".gz") != 0 ||
      name.find_first_not_of("0123456789") != digits) {
    return std::string();
  }
  const std::size_t folder = startOfLast(file - 1);
  const std::string kind = path.substr(folder, file - folder);
  return kind == "model/" || kind == "grep/" ? kind + name : std::string();
}

std::string GetReason(archive* reader) {
  const char* const text = archive_error_string(reader);
  return text != nullptr ? text : "damaged";
}

}  // namespace

bool TarPieces::IsArchiveName(const std::string& path) {
  static const std::regex ending("\\.(tar|tar\\.(gz|xz|bz2|zst)|tgz|txz|tbz2?|tzst)$",
                                 std::regex::ECMAScript | std::regex::icase);
  return std::regex_search(fs::u8path(path).filename().u8string(), ending);
}

bool TarPieces::Load(std::FILE* file, const std::function<bool()>& goesOn) {
  goesOn_ = goesOn;
#if defined(_WIN32)
  _setmode(_fileno(file), _O_BINARY);
#endif
  const std::unique_ptr<archive, ReaderDeleter> reader(archive_read_new());
  archive* const tar = reader.get();
  // Not all that libarchive knows: some of its filters start other programs.
  for (const auto support :
       {archive_read_support_filter_gzip, archive_read_support_filter_bzip2, archive_read_support_filter_xz,
        archive_read_support_filter_zstd, archive_read_support_format_tar}) {
    if (tar == nullptr || support(tar) < ARCHIVE_WARN) {
      error_ = "archives cannot be read here";
      return false;
    }
  }
  if (archive_read_open_FILE(tar, file) != ARCHIVE_OK) {
    error_ = GetReason(tar);
    return false;
  }
  if (!LoadMembers(tar)) {
    return false;
  }
  if (!Has("index.gz")) {
    error_ = "is not a tar archive of a model folder (it has no index.gz)";
    return false;
  }
  return true;
}

bool TarPieces::LoadMembers(archive* reader) {
  for (std::uint64_t members = 0;; ++members) {
    archive_entry* member = nullptr;
    const int status = archive_read_next_header(reader, &member);
    if (status == ARCHIVE_EOF) {
      return true;
    }
    if (status < ARCHIVE_WARN) {
      error_ = GetReason(reader);
      return false;
    }
    if (members == kMaxMembers) {
      error_ = "holds more than " + std::to_string(kMaxMembers) + " members";
      return false;
    }
    // Names that the archive marks as UTF-8 have no other form in a locale that cannot hold them.
    const char* path = archive_entry_pathname_utf8(member);
    path = path != nullptr ? path : archive_entry_pathname(member);
    if (path != nullptr && archive_entry_filetype(member) != AE_IFDIR && !Keep(reader, member, path)) {
      return false;
    }
  }
}

bool TarPieces::Keep(archive* reader, archive_entry* member, const std::string& path) {
  const std::string name = GetPieceName(path);
  if (name.empty()) {
    return Count(archive_entry_size(member));
  }
  const std::string folder = path.substr(0, path.size() - name.size());
  if (files_.empty()) {
    folder_ = folder;
  }
  const auto [place, isNew] = files_.try_emplace(name);
  if (folder != folder_ || !isNew) {
    error_ = folder != folder_ ? "holds more than one model folder: " + folder_ + " and " + folder
                               : path + " is there twice";
    return false;
  }
  if (archive_entry_filetype(member) != AE_IFREG || archive_entry_hardlink(member) != nullptr) {
    error_ = path + " is not a regular file";
    return false;
  }
  std::vector<char>& content = place->second;
  std::vector<char> block(std::size_t{1} << 20);
  for (;;) {
    const la_ssize_t count = archive_read_data(reader, block.data(), block.size());
    if (count == 0) {
      return true;
    }
    if (count < 0) {
      error_ = path + ": " + GetReason(reader);
      return false;
    }
    if (!Count(count)) {
      return false;
    }
    content.insert(content.end(), block.begin(), block.begin() + count);
  }
}

bool TarPieces::Count(std::int64_t bytes) {
  if (goesOn_ && !goesOn_()) {
    error_ = "was called off";
    return false;
  }
  const std::uint64_t added = static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0));
  if (added > kMaxBytes - bytes_) {
    error_ = "holds more than " + std::to_string(kMaxBytes >> 30) + " GiB";
    return false;
  }
  if (bytes_ + added > MemoryBudget::GetLimit()) {
    error_ = "holds more than the memory limit allows";
    return false;
  }
  bytes_ += added;
  return true;
}

bool TarPieces::Unpack(const std::string& folder) {
  std::error_code failure;
  for (const auto& [name, content] : files_) {
    const fs::path file = fs::u8path(folder) / fs::u8path(name);
    fs::create_directories(file.parent_path(), failure);
    std::ofstream stream(file, std::ios::binary);
    errno = 0;
    if (!stream.write(content.data(), static_cast<std::streamsize>(content.size())) || !stream.flush()) {
      error_ = file.u8string() + " cannot be written: " +
               (failure ? failure.message() : std::generic_category().message(errno));
      return false;
    }
  }
  return true;
}

bool TarPieces::Has(const std::string& name) const {
  return files_.count(name) > 0;
}

std::vector<std::uint32_t> TarPieces::ListPackages(const std::string& kind) const {
  std::vector<std::uint32_t> numbers;
  for (const auto& file : files_) {
    const bool isOfKind = file.first.compare(0, kind.size() + 1, kind + "/") == 0;
    const std::uint32_t number =
        isOfKind ? FolderFiles::GetPackageNumber(std::string_view(file.first).substr(kind.size() + 1)) : 0;
    if (number > 0) {
      numbers.push_back(number);
    }
  }
  return numbers;
}

bool TarPieces::ReadExtras(ExtrasReader& reader) const {
  const auto found = files_.find(FolderFiles::kExtras);
  return found != files_.end() && reader.ReadGzip({found->second.begin(), found->second.end()});
}

std::shared_ptr<RawBuffer> TarPieces::Read(const std::string& name) const {
  const auto found = files_.find(name);
  return found == files_.end()
             ? nullptr
             : GzBuffer::FromMemory(found->second.data(), found->second.size(), folder_ + name);
}

}  // namespace mirel

#include <Programs/mirel/Seal/FolderSeal.h>

#include <Programs/mirel/Seal/FileBytes.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

#include <nettle/sha2.h>

#include <filesystem>
#include <sstream>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr std::size_t kDigits = 2 * std::size_t{SHA256_DIGEST_SIZE};

// Room for 200,000 packages, some terabytes of bodies.
constexpr std::uint64_t kMaxSealBytes = 16 << 20;

// "<64 digits>  <name>", as sha256sum writes it. A star in the place of the second blank says the same.
bool ParseLine(const std::string& line, FolderSeal::Sums& sums) {
  if (line.size() < kDigits + 3 || line[kDigits] != ' ' ||
      (line[kDigits + 1] != ' ' && line[kDigits + 1] != '*')) {
    return false;
  }
  const std::string sum = line.substr(0, kDigits);
  const std::string name = line.substr(kDigits + 2);
  return sum.find_first_not_of("0123456789abcdef") == std::string::npos && FolderFiles::IsFile(name) &&
         name != FolderFiles::kSeal && sums.emplace(name, sum).second;
}

}  // namespace

bool FolderSeal::ListFiles(const std::string& folder, std::vector<std::string>& files, std::string& reason) {
  for (const char* const part : {"", FolderFiles::kShapes, FolderFiles::kGReps, FolderFiles::kDrawings}) {
    const fs::path where = fs::u8path((folder.empty() ? "./" : folder) + part);
    std::error_code failure;
    fs::directory_iterator entry(where, failure);
    if (failure == std::errc::no_such_file_or_directory && *part != '\0') {
      continue;
    }
    for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
      const std::string name = (fs::u8path(part) / entry->path().filename()).generic_u8string();
      if (FolderFiles::IsFile(name) && name != FolderFiles::kSeal) {
        files.push_back(name);
      }
    }
    if (failure) {
      reason = (*part == '\0' ? "it" : part) + std::string(" cannot be listed: ") + failure.message();
      return false;
    }
  }
  return true;
}

bool FolderSeal::Compute(const std::string& path, std::string& sum, std::string& reason) {
  return Compute(path, kMaxPackedBytes, sum, reason);
}

bool FolderSeal::Compute(const std::string& path, std::uint64_t limit, std::string& sum,
                         std::string& reason) {
  sha256_ctx context = {};
  sha256_init(&context);
  const auto take = [&](const char* bytes, std::size_t size) {
    sha256_update(&context, size, reinterpret_cast<const std::uint8_t*>(bytes));
  };
  if (!FileBytes::Read(path, limit, take, reason)) {
    return false;
  }
  std::uint8_t digest[SHA256_DIGEST_SIZE];
  sha256_digest(&context, sizeof digest, digest);
  sum.clear();
  for (const std::uint8_t byte : digest) {
    for (const int shift : {4, 0}) {
      sum.push_back("0123456789abcdef"[(byte >> shift) & 15]);
    }
  }
  return true;
}

bool FolderSeal::Make(const std::string& folder, Sums& sums, std::string& reason) {
  std::vector<std::string> files;
  if (!ListFiles(folder, files, reason)) {
    return false;
  }
  for (const std::string& file : files) {
    if (!Compute(folder + file, sums[file], reason)) {
      reason = file + ": " + reason;
      return false;
    }
  }
  return true;
}

bool FolderSeal::Write(const std::string& folder, const Sums& sums, std::string& reason) {
  std::string text;
  for (const auto& [file, sum] : sums) {
    text += sum + "  " + file + "\n";
  }
  // Always the same name, so that what a killed process has left goes with the next seal.
  const std::string aside = folder + std::string(FolderFiles::kHidden) + "0";
  std::error_code failure;
  fs::remove(fs::u8path(aside), failure);
  if (FileBytes::Write(aside, text, reason)) {
    fs::rename(fs::u8path(aside), fs::u8path(folder + FolderFiles::kSeal), failure);
    if (!failure) {
      return true;
    }
    reason = failure.message();
  }
  fs::remove(fs::u8path(aside), failure);
  return false;
}

bool FolderSeal::Read(const std::string& folder, Sums& sums, std::string& reason) {
  std::string text;
  const auto take = [&](const char* bytes, std::size_t size) { text.append(bytes, size); };
  if (!FileBytes::Read(folder + FolderFiles::kSeal, kMaxSealBytes, take, reason)) {
    return false;
  }
  std::istringstream lines(text);
  std::size_t number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!ParseLine(line, sums)) {
      reason = "line " + std::to_string(number) +
               " is no checksum of a file of the folder, or of one named before";
      return false;
    }
  }
  return true;
}

}  // namespace mirel

#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace mirel {

/// The names in a model folder. What belongs to it is listed here and nowhere else; all other names are somebody else's, and
/// whoever saves, replaces, seals or checks a folder leaves them alone. Names are relative to the folder, "model/1.gz".
struct FolderFiles {
  static constexpr const char* kIndex = "index.gz";
  /// The folders of packages: exact bodies and graphics.
  static constexpr const char* kShapes = "model";
  static constexpr const char* kGReps = "grep";
  /// What of the packages of graphics a picture needs, for web pages: packages of the same numbers.
  static constexpr const char* kDrawings = "draw";
  static constexpr const char* kPackageFolders[] = {kShapes, kGReps, kDrawings};

  /// The checksums of all other files.
  static constexpr const char* kSeal = "SHA256SUMS";
  /// What the source says of the model and items have no place for.
  static constexpr const char* kExtras = "extras.gz";
  /// What a web page needs to know before it fetches packages.
  static constexpr const char* kOverview = "overview.json";
  /// The content of the index once more, packed tighter, for web pages.
  static constexpr const char* kTightIndex = "index.lz";
  /// What the folder was made of, and how.
  static constexpr const char* kSource = "source.json";
  /// Files beside the index that opening does without. They tell of the model that they were written with, so a save
  /// of another one into the folder removes them.
  static constexpr const char* kBeside[] = {kSeal, kExtras, kOverview, kTightIndex, kSource};

  static bool IsPackageFolder(std::string_view name) {
    return std::find(std::begin(kPackageFolders), std::end(kPackageFolders), name) !=
           std::end(kPackageFolders);
  }

  static bool IsBeside(std::string_view name) {
    return std::find(std::begin(kBeside), std::end(kBeside), name) != std::end(kBeside);
  }

  /// How the names of packages end in one of their folders: those for web pages are lzip, the others gzip.
  static const char* GetPackageEnding(std::string_view folder) { return folder == kDrawings ? ".lz" : ".gz"; }

  /// The number of a package, given its file name without the folder; 0 when it is no package's name.
  static std::uint32_t GetPackageNumber(std::string_view name, std::string_view folder = kGReps) {
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const std::from_chars_result digits = std::from_chars(name.data(), end, number);
    const bool good =
        digits.ec == std::errc() && name[0] != '0' &&
        name.substr(static_cast<std::size_t>(digits.ptr - name.data())) == GetPackageEnding(folder);
    return good ? number : 0;
  }

  static std::string GetPackageName(std::uint32_t number, std::string_view folder = kGReps) {
    return std::to_string(number) + GetPackageEnding(folder);
  }

  /// Whether a file belongs to a model folder.
  static bool IsFile(std::string_view name) {
    const std::size_t slash = name.find('/');
    return slash == std::string_view::npos
               ? name == kIndex || IsBeside(name)
               : IsPackageFolder(name.substr(0, slash)) &&
                     GetPackageNumber(name.substr(slash + 1), name.substr(0, slash)) > 0;
  }

  /// What saves put their files into until all are there, and may leave when they are killed, is named so, with a number
  /// behind it: inside a model folder and inside its folders of packages.
  static constexpr std::string_view kHidden = ".mirel-";

  static bool IsHidden(std::string_view name) {
    return name.size() > kHidden.size() && name.substr(0, kHidden.size()) == kHidden &&
           name.find_first_not_of("0123456789", kHidden.size()) == std::string_view::npos;
  }
};

}  // namespace mirel

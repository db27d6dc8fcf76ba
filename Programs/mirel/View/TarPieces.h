#pragma once

#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <vector>

struct archive;
struct archive_entry;

namespace mirel {

/// The files of a model folder out of a tar archive, which may be compressed as a whole. The archive is read to
/// its end once, and the files are kept in memory as they are there, compressed.
///
/// Members are taken for what their last names say: "index.gz", "model/N.gz", "grep/N.gz", "extras.gz". They may stand in a
/// folder ("trolley/index.gz", "./index.gz"), all in the same one; other members are passed over.
class TarPieces : public PieceSource {
 public:
  /// What an archive may hold at most, members that are passed over included. Both lie far above what real
  /// models need.
  static constexpr std::uint64_t kMaxMembers = 1000000;
  static constexpr std::uint64_t kMaxBytes = std::uint64_t{4} << 30;

  /// Whether the name of a file says that it is a tar archive.
  static bool IsArchiveName(const std::string& path);

  /// False when this is not a tar archive, or damaged, or not of one model folder; the error says why.
  /// `goesOn` is asked from time to time; when it says no, the archive is left where it is, and the error says so.
  bool Load(std::FILE* file, const std::function<bool()>& goesOn = nullptr);
  const std::string& GetError() const { return error_; }

  /// Writes all files of the model into a folder, which is made. False when that fails; the error says why.
  bool Unpack(const std::string& folder);

  bool Has(const std::string& name) const;
  std::vector<std::uint32_t> ListPackages(const std::string& kind) const override;
  std::shared_ptr<RawBuffer> Read(const std::string& name) const override;
  bool HasExtras() const override { return Has(FolderFiles::kExtras); }
  bool ReadExtras(ExtrasReader& reader) const override;

 private:
  bool LoadMembers(archive* reader);
  bool Keep(archive* reader, archive_entry* member, const std::string& path);
  bool Count(std::int64_t bytes);

  std::map<std::string, std::vector<char>> files_;
  std::string folder_;  // that all files stand in, with its separator
  std::uint64_t bytes_ = 0;
  std::function<bool()> goesOn_;  // while it loads
  std::string error_;
};

}  // namespace mirel

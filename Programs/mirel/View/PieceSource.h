#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mirel {

class ExtrasReader;
class RawBuffer;

/// Where the files of a model folder come from, one by one and in any order: a folder or an archive of one.
class PieceSource {
 public:
  virtual ~PieceSource() = default;

  /// The numbers of the packages in "model" or "grep", in any order.
  virtual std::vector<std::uint32_t> ListPackages(const std::string& kind) const = 0;

  /// The inflated content of a file, named relative to the folder: "index.gz", "model/1.gz", "grep/1.gz". An empty pointer, and the reason as a notice in the log, when it cannot be read.
  virtual std::shared_ptr<RawBuffer> Read(const std::string& name) const = 0;

  /// Whether there is an extras.gz.
  virtual bool HasExtras() const = 0;

  /// Reads it; false, and the reader knows the reason, when it cannot be read.
  virtual bool ReadExtras(ExtrasReader& reader) const = 0;
};

/// A folder on disk. Each file is read when it is asked for.
class FolderPieces : public PieceSource {
 public:
  /// `folder` ends with a separator.
  explicit FolderPieces(std::string folder) : folder_(std::move(folder)) {}

  std::vector<std::uint32_t> ListPackages(const std::string& kind) const override;
  std::shared_ptr<RawBuffer> Read(const std::string& name) const override;
  bool HasExtras() const override;
  bool ReadExtras(ExtrasReader& reader) const override;

 private:
  std::string folder_;
};

}  // namespace mirel

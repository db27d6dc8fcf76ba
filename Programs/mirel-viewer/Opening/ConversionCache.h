#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace mirel {

/// Where the model folders of CAD files are kept that have been opened before: in a folder of the user's cache, by the
/// content of the file, at most so many bytes of them; what was used longest ago goes first.
///
/// Thread safety: none; several processes may use one folder at once.
class ConversionCache {
 public:
  static constexpr std::uint64_t kDefaultLimit = std::uint64_t{4} << 30;

  /// In the folder of the user's cache (`XDG_CACHE_HOME`), unless another is given.
  explicit ConversionCache(const QString& folder = QString(), std::uint64_t limit = kDefaultLimit);

  const QString& GetFolder() const { return folder_; }

  /// The name of a file's content. Remembered for the file as long as its size and its times stay as they are, so
  /// that a large file is read once. Empty, with a reason, when it cannot be read.
  QString FindKey(const QString& file, QString& reason) const;

  /// The model folder of a content, which counts as used now; nothing when there is none.
  std::optional<QString> Find(const QString& key) const;

  /// Where a folder for a content is to be made. Empty, with a reason, when nothing can be made there.
  QString Prepare(const QString& key, QString& reason) const;

  /// Takes out what was used longest ago until the rest is within the limit, but not `key`.
  void Clean(const QString& key) const;

  /// Takes out a folder that turned out to be damaged.
  void Remove(const QString& key) const;

 private:
  QString GetModelFolder(const QString& key) const;
  void MarkUsed(const QString& key) const;

  const QString folder_;
  const std::uint64_t limit_;
};

}  // namespace mirel

#include <Programs/mirel-viewer/Opening/ConversionCache.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <vector>

namespace mirel {

namespace {

// Folders made by another version of what makes them are not used.
constexpr const char* kGeneration = "1";

QString Hash(const QByteArray& bytes) {
  return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

std::uint64_t GetFolderSize(const QString& folder) {
  std::uint64_t bytes = 0;
  for (QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
       files.hasNext();) {
    files.next();
    bytes += static_cast<std::uint64_t>(files.fileInfo().size());
  }
  return bytes;
}

}  // namespace

ConversionCache::ConversionCache(const QString& folder, std::uint64_t limit)
    : folder_(folder.isEmpty()
                  ? QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/mirel-viewer"
                  : folder),
      limit_(limit) {}

QString ConversionCache::FindKey(const QString& file, QString& reason) const {
  const QFileInfo info(file);
  const QString identity = info.canonicalFilePath() + '\n' + QString::number(info.size()) + '\n' +
                           QString::number(info.lastModified().toMSecsSinceEpoch()) + '\n' +
                           QString::number(info.metadataChangeTime().toMSecsSinceEpoch()) + '\n' +
                           kGeneration;
  QFile known(folder_ + "/known/" + Hash(identity.toUtf8()));
  if (known.open(QIODevice::ReadOnly)) {
    return QString::fromLatin1(known.readAll());
  }
  QFile source(file);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  hash.addData(QByteArray(kGeneration));
  if (!source.open(QIODevice::ReadOnly) || !hash.addData(&source)) {
    reason = source.errorString();
    return QString();
  }
  const QString key = QString::fromLatin1(hash.result().toHex());
  QDir().mkpath(folder_ + "/known");
  QSaveFile remembered(known.fileName());
  if (remembered.open(QIODevice::WriteOnly)) {
    remembered.write(key.toLatin1());
    remembered.commit();
  }
  return key;
}

QString ConversionCache::GetModelFolder(const QString& key) const {
  return folder_ + "/models/" + key;
}

void ConversionCache::MarkUsed(const QString& key) const {
  QFile mark(GetModelFolder(key) + ".used");
  if (mark.open(QIODevice::WriteOnly)) {
    mark.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
  }
}

std::optional<QString> ConversionCache::Find(const QString& key) const {
  const QString folder = GetModelFolder(key);
  if (!QFileInfo::exists(folder + "/index.gz")) {
    return std::nullopt;
  }
  MarkUsed(key);
  return folder;
}

QString ConversionCache::Prepare(const QString& key, QString& reason) const {
  const QString models = folder_ + "/models";
  if (!QDir().mkpath(models) || !QFileInfo(models).isWritable()) {
    reason = models + " cannot be written";
    return QString();
  }
  return GetModelFolder(key);
}

void ConversionCache::Clean(const QString& key) const {
  MarkUsed(key);
  struct Entry {
    QString key;
    QDateTime used;
    std::uint64_t bytes;
  };
  std::vector<Entry> entries;
  std::uint64_t total = 0;
  for (const QFileInfo& info :
       QDir(folder_ + "/models").entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks)) {
    const QFileInfo mark(info.filePath() + ".used");
    entries.push_back({info.fileName(), mark.exists() ? mark.lastModified() : info.lastModified(),
                       GetFolderSize(info.filePath())});
    total += entries.back().bytes;
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.used < b.used; });
  for (const Entry& entry : entries) {
    if (total <= limit_) {
      return;
    }
    if (entry.key != key) {
      Remove(entry.key);
      total -= entry.bytes;
    }
  }
}

void ConversionCache::Remove(const QString& key) const {
  QDir(GetModelFolder(key)).removeRecursively();
  QFile::remove(GetModelFolder(key) + ".used");
}

}  // namespace mirel

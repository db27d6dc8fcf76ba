#pragma once

#include <QString>

namespace mirel {

/// What kind of thing a path leads to, as far as opening it is concerned.
enum class FileKind {
  kScene,    ///< a model folder, or a file that a registered reader takes
  kArchive,  ///< a tar archive, compressed or not
  kSource    ///< all else: left to `mirel save`, which tells what it is by its content
};

FileKind FindFileKind(const QString& path);

}  // namespace mirel

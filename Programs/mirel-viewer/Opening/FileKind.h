#pragma once

#include <QString>

namespace mirel {

/// What kind of thing a path leads to, as far as opening it is concerned.
enum class FileKind {
  kScene,    ///< a model folder, or a file that a registered reader takes
  kArchive,  ///< a tar archive, compressed or not
  kSource    ///< all else: left to `mirel save`, which tells what it is by its content
};

/// What file dialogs list.
constexpr const char* kModelFilter = "Models (*.gz *.tar *.tgz *.txz *.tzst *.step *.stp *.p21 *.stpz *.iges "
                                     "*.igs *.brep *.brp);;All files (*)";

FileKind FindFileKind(const QString& path);

}  // namespace mirel

#include <Programs/mirel-viewer/Opening/FileKind.h>

#include <Programs/mirel/View/TarPieces.h>

#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>

#include <QFileInfo>
#include <QRegularExpression>

namespace mirel {

FileKind FindFileKind(const QString& path) {
  static const QRegularExpression source("\\.(step|stp|p21|stpz|iges|igs|brep|brp)(\\.gz)?$",
                                         QRegularExpression::CaseInsensitiveOption);
  if (QFileInfo(path).isDir()) {
    return FileKind::kScene;
  }
  if (TarPieces::IsArchiveName(path.toStdString())) {
    return FileKind::kArchive;
  }
  if (source.match(path).hasMatch()) {
    return FileKind::kSource;
  }
  return SceneExchangeManager::Instance().FindReader(path.toStdString()) ? FileKind::kScene
                                                                         : FileKind::kSource;
}

}  // namespace mirel

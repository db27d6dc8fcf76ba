#include <Programs/mirel-viewer/View/GraphicsCheck.h>

#include <Viewer/Draw/GL/GLRenderer.h>

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QSurfaceFormat>

namespace mirel {

void GraphicsCheck::SetDefaultFormat() {
  QSurfaceFormat format;
  format.setVersion(GLRenderer::kMajor, GLRenderer::kMinor);
  format.setProfile(QSurfaceFormat::CoreProfile);
  format.setSwapInterval(1);
  QSurfaceFormat::setDefaultFormat(format);
}

QString GraphicsCheck::FindObstacle() {
  const QString needed = QString("OpenGL %1.%2 is needed").arg(GLRenderer::kMajor).arg(GLRenderer::kMinor);
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  if (!context.create() || !context.makeCurrent(&surface)) {
    return needed + ", and there is none on this display";
  }
  return QString::fromStdString(GLRenderer::FindObstacle());
}

}  // namespace mirel

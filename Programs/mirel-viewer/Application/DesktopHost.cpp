#include <Programs/mirel-viewer/Application/DesktopHost.h>

#include <Programs/mirel/View/ModuleLibrary.h>

#include <Viewer/Kernel/Host/Core/DialogUtil.h>

#include <QApplication>
#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>

namespace mirel {

namespace {

Path AskForFile(const std::string& name, const std::vector<std::string>& filters) {
  QStringList kinds;
  for (std::size_t i = 0; i + 1 < filters.size(); i += 2) {
    kinds.append(QString::fromStdString(filters[i]) + " (" + QString::fromStdString(filters[i + 1]) + ")");
  }
  const QString path = QFileDialog::getOpenFileName(QApplication::activeWindow(),
                                                    QCoreApplication::translate("DesktopHost", "Open"),
                                                    QString::fromStdString(name), kinds.join(";;"));
  return path.isEmpty() ? Path() : Path(path.toStdString());
}

}  // namespace

DesktopHost::DesktopHost() {
  SetActiveViewer(std::make_shared<Viewer>());
  DialogUtil::SetOpenFileFunction(AskForFile);
}

DesktopHost::~DesktopHost() {
  DialogUtil::SetOpenFileFunction(nullptr);
}

QString DesktopHost::FindModule() {
  for (const char* folder : {MIREL_MODULE_FOLDERS}) {
    const QString file = QCoreApplication::applicationDirPath() + "/" + folder + "/" + MIREL_MODULE_FILE;
    if (QFileInfo::exists(file)) {
      return QFileInfo(file).canonicalFilePath();
    }
  }
  return QString();
}

bool DesktopHost::LoadModule(const QString& path, QString& reason) {
  const ModuleLibrary library(path.toStdString());
  reason = QString::fromStdString(library.GetError());
  if (reason.isEmpty() && !library.IsRegistered()) {
    reason = "is a library, but registers no command, reader or loader with this host";
  }
  return reason.isEmpty();
}

}  // namespace mirel

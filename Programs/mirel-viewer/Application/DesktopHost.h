#pragma once

#include <Viewer/Kernel/Host/Application/BaseApplication.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <QString>
#include <QStringList>

#include <memory>

namespace mirel {

/// The running application as modules find it: one viewer, and questions that are asked in windows.
class DesktopHost : public BaseApplication {
 public:
  DesktopHost();
  ~DesktopHost() override;

  /// The module that comes with the program: beside it, or where libraries are installed. Empty when there is none.
  static QString FindModule();

  /// Loads a module, whose registrations replace earlier ones of the same names. False with a reason.
  static bool LoadModule(const QString& path, QString& reason);
};

}  // namespace mirel

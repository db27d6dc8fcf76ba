#include <Programs/mirel-viewer/Application/Benchmark.h>
#include <Programs/mirel-viewer/Application/DesktopHost.h>
#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Application/Theme.h>
#include <Programs/mirel-viewer/View/GraphicsCheck.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>

#include <cstdio>
#include <optional>

namespace {

enum ExitCode { kDone = 0, kUsage = 1, kModuleUnread = 2, kNoGraphics = 3 };

int Refuse(ExitCode code, const QString& text, bool asks = false) {
  std::fprintf(stderr, "mirel-viewer: %s\n", qUtf8Printable(text));
  if (code == kNoGraphics && asks) {
    QMessageBox::critical(nullptr, "Mirel", text);
  }
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  mirel::GraphicsCheck::SetDefaultFormat();
  QApplication application(argc, argv);
  QApplication::setOrganizationName("mirel");
  QApplication::setApplicationName("mirel-viewer");
  QApplication::setApplicationVersion(MIREL_VERSION);
  QApplication::setDesktopFileName("mirel-viewer");
  QApplication::setStyle("Fusion");

  QCommandLineParser arguments;
  arguments.setApplicationDescription("Shows CAD assemblies.");
  arguments.addHelpOption();
  arguments.addVersionOption();
  const QCommandLineOption module("module", "Load a further module, whose commands and readers come first.",
                                  "PATH");
  arguments.addOption(module);
  const QCommandLineOption benchmark(
      "benchmark", "Print when what was reached, and what frames, picks and the tree take; then end.");
  arguments.addOption(benchmark);
  const QCommandLineOption compare("compare",
                                   "Show what is different between two versions: FILE is OLD NEW.");
  arguments.addOption(compare);
  arguments.addPositionalArgument(
      "FILE", "Model folders, index files, tar archives; STEP, IGES and BRep files.", "[FILE...]");
  arguments.process(application);

  const QStringList files = arguments.positionalArguments();
  if (arguments.isSet(compare) && (files.size() != 2 || arguments.isSet(benchmark))) {
    return Refuse(kUsage, "--compare wants two versions of a model, and nothing else: --compare OLD NEW");
  }

  mirel::DesktopHost host;
  const QString own = mirel::DesktopHost::FindModule();
  if (own.isEmpty()) {
    return Refuse(kModuleUnread, "the module that opens models is not installed beside this program");
  }
  for (const QString& path : QStringList(own) + arguments.values(module)) {
    QString reason;
    if (!mirel::DesktopHost::LoadModule(path, reason)) {
      return Refuse(kModuleUnread, path + ": " + reason);
    }
  }
  mirel::ApplyTheme();
  mirel::MainWindow window(host, arguments.isSet(compare) ? QStringList() : files);
  const QString obstacle = mirel::GraphicsCheck::FindObstacle();
  if (!obstacle.isEmpty()) {
    return Refuse(kNoGraphics, obstacle, !arguments.isSet(benchmark));
  }
  std::optional<mirel::Benchmark> stages;
  if (arguments.isSet(benchmark)) {
    stages.emplace(window, files);
  }
  if (arguments.isSet(compare)) {
    window.Compare(files[0], files[1]);
  } else {
    window.WaitForModel();
  }
  window.show();
  return QApplication::exec();
}

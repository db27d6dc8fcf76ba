#include <Tests/Programs/mirel-viewer/ViewerTests.h>

#include <Programs/mirel-viewer/Application/Theme.h>
#include <Programs/mirel-viewer/View/GraphicsCheck.h>

#include <QApplication>
#include <QTest>

#include <cstdio>
#include <cstring>

// Runs the tests named on the command line, or all.
int main(int argc, char** argv) {
  using namespace mirel;
  GraphicsCheck::SetDefaultFormat();
  QApplication application(argc, argv);
  QApplication::setOrganizationName("mirel");
  QApplication::setApplicationName("mirel-viewer");
  QApplication::setStyle("Fusion");
  const QString obstacle = GraphicsCheck::FindObstacle();
  if (!obstacle.isEmpty()) {
    std::printf("skipped: %s\n", qPrintable(obstacle));
    return 77;
  }
  int failed = 0;
  for (const auto& [name, make] : ViewerTests::List()) {
    if (argc < 2 || std::strcmp(argv[1], name) == 0) {
      const std::unique_ptr<QObject> test = make();
      failed += QTest::qExec(test.get(), QStringList(argv[0]));
    }
  }
  return failed == 0 ? 0 : 1;
}

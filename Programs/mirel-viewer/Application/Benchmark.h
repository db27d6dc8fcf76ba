#pragma once

#include <QObject>

namespace mirel {

class MainWindow;

/// Prints on standard output, in ms since the process began, when the window was made, when the nodes were there, and when the
/// first full picture was on the screen; then how long further frames take while the model turns. Ends the application.
class Benchmark : public QObject {
  Q_OBJECT

 public:
  explicit Benchmark(MainWindow& window);

 private:
  void Print(const char* stage) const;
  void Turn();

  MainWindow& window_;
};

}  // namespace mirel

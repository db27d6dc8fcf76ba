#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace mirel {

class MainWindow;

/// Measures the window with the models that are opened in it, and ends the application. On standard output, in ms:
///
/// - since the process began: when the window was made, when the nodes were there, when the exact bodies were, and when the first
///   full picture was on the screen; and the processor time of all threads until then;
/// - a frame while the model turns, mean and worst, from the event until it is on the screen;
/// - the same while the models are opened a second time in the background;
/// - the processor time of the window's thread for a mouse move over the model, for a click on it and for finding what a click snaps
///   to while measuring, mean and worst;
/// - the same for filling the tree, and for showing the children of the group that has most of them; and how long the search
///   for a part of a name takes.
class Benchmark : public QObject {
  Q_OBJECT

 public:
  explicit Benchmark(MainWindow& window, QStringList paths);

 private:
  using Step = void (Benchmark::*)();

  void PrintStage(const char* stage) const;
  // Begins with what follows the first full picture, once all bodies are there.
  void Begin();
  // Each step goes on with the next one, which happens once the window has nothing else to do.
  void GoOn(Step next);
  void Turn();
  void OpenAgain();
  void TurnWhileOpening();
  void PointAndClick();
  void FillTree();
  void Search();

  MainWindow& window_;
  const QStringList paths_;
  bool hasPicture_ = false, hasBodies_ = false;
  std::vector<double> frames_;  // while something is opened
};

}  // namespace mirel

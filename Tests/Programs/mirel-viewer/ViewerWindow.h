#pragma once

#include <Programs/mirel-viewer/Application/DesktopHost.h>
#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <QImage>
#include <QPointF>
#include <QString>

#include <memory>

namespace mirel {

class SceneNode;

/// A viewer with its window on the screen, for a test: with settings and a cache of its own, which start empty.
class ViewerWindow {
 public:
  ViewerWindow();
  ~ViewerWindow();

  MainWindow& Get() { return *window_; }
  Document& GetDocument() { return window_->GetDocument(); }
  ModelView& GetView() { return window_->GetView(); }

  /// Closes the window as a user does, and opens another one.
  void Reopen();

  /// Waits until nothing is being opened or drawn any more; false when that takes too long.
  bool Settle();

  /// Opens the sample and waits for its picture.
  bool OpenSample();

  /// What the picture shows, without what is painted over it at the right upper corner.
  QImage Grab();
  /// Saves the window as a picture of the user's guide, when those are being drawn.
  void SaveForGuide(const QString& name);

  /// The first node with a name, in the order of the tree; null when there is none.
  const SceneNode* FindNode(const std::string& name);
  /// A point of the view where a body can be clicked on; fails the test when it is not seen.
  QPointF FindPoint(const SceneNode* node);

  /// What the panel of messages says.
  QString GetMessages();

  /// Answers the next file dialog with a path.
  static void AnswerDialog(const QString& path);

  /// A program of the shell, to stand in for `mirel`.
  static QString MakeScript(const QString& name, const QByteArray& text);

  /// The folder that is thrown away at the end.
  static QString GetScratch();
  /// A model folder of the sample.
  static QString GetSampleFolder();

 private:
  DesktopHost host_;
  std::unique_ptr<MainWindow> window_;
};

/// Part of the pixels, 0 to 1, that differ by more than `tolerance` in a component.
double CompareImages(const QImage& a, const QImage& b, int tolerance);

}  // namespace mirel

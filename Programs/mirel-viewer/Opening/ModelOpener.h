#pragma once

#include <Programs/mirel-viewer/Opening/OpenTask.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <memory>

namespace mirel {

class Document;
class SceneNode;

/// Opens files into a document, one after the other, while the window goes on. Used by the window's thread.
class ModelOpener : public QObject {
  Q_OBJECT

 public:
  explicit ModelOpener(Document& document);
  /// Calls off what is not done, and waits for it.
  ~ModelOpener() override;

  void SetSettings(const OpenTask::Settings& settings) { settings_ = settings; }

  void Open(const QString& path);
  /// Calls off what is being opened and what waits.
  void Cancel();
  bool IsBusy() const { return waiting_ > 0; }

 signals:
  void Progressed(const QString& text, int percent);
  /// Its nodes are in the document, under a new root.
  void Opened(const QString& path, const mirel::SceneNode* root);
  void Failed(const QString& path);
  /// Something could not be read.
  void Told(const QStringList& messages);
  /// Nothing is left to be opened.
  void Idle();

 private:
  void Run(const std::shared_ptr<OpenTask>& task, const QString& path);

  Document& document_;
  OpenTask::Settings settings_;
  QThreadPool thread_;
  std::vector<std::weak_ptr<OpenTask>> tasks_;
  int waiting_ = 0;
};

}  // namespace mirel

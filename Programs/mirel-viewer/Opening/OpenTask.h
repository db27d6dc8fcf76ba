#pragma once

#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

namespace mirel {

class SceneNode;
class StreamModelLoader;

/// Opens one path, whatever it leads to, on the thread that calls `Run`.
class OpenTask {
 public:
  /// How far it is, and what becomes of it. Called by the task's thread.
  struct Receiver {
    std::function<void(const QString& text, int percent)> progress;  ///< percent -1: not known
    /// The nodes can be drawn. `folder` is the model folder that they come from; empty for an archive.
    std::function<void(const std::shared_ptr<SceneNode>& root, const QString& folder)> opened;
    /// Ends a loader, which puts its nodes into the active viewer: on the viewer's thread. Returns when that is done.
    std::function<bool(StreamModelLoader& loader)> endLoader;
  };

  /// What CAD files are opened with; empty: what is usual.
  struct Settings {
    QString cacheFolder;  ///< where they are kept when they are converted
    QString converter;    ///< the program `mirel`
  };

  OpenTask(QString path, Settings settings, Receiver receiver);

  /// True when there is something to show.
  bool Run();
  /// Any thread may call it; `Run` returns soon.
  void Cancel() { cancelled_ = true; }
  bool IsCancelled() const { return cancelled_; }

  /// What could not be read, and why, for the user; after `Run`.
  const QStringList& GetMessages() const { return messages_; }

 private:
  bool OpenScene(const QString& path, bool isFromCache);
  bool OpenArchive();
  bool OpenSource();
  bool Convert(const QString& folder);
  void ShowProgress(const SceneOpening::Progress& at) const;
  bool Fail(const QString& reason);

  const QString path_;
  const Settings settings_;
  const Receiver receiver_;
  std::atomic<bool> cancelled_{false};
  QStringList messages_;
};

}  // namespace mirel

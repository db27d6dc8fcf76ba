#include <Programs/mirel-viewer/Opening/ModelOpener.h>

#include <Programs/mirel-viewer/Document/BackgroundThread.h>
#include <Programs/mirel-viewer/Document/Document.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/Host/View/Viewer.h>

#include <QCoreApplication>
#include <QFileInfo>

namespace mirel {

namespace {

// What the file is called in the tree: a folder for its index.
QString GetTitle(const QString& path) {
  const QFileInfo info(path);
  return info.fileName() == "index.gz" ? QFileInfo(info.absolutePath()).fileName() : info.fileName();
}

}  // namespace

ModelOpener::ModelOpener(Document& document) : QObject(&document), document_(document) {
  thread_.setMaxThreadCount(1);
  thread_.setExpiryTimeout(0);  // each opening begins with a thread of full speed
}

ModelOpener::~ModelOpener() {
  Cancel();
  // A loader may wait for this thread to take its nodes.
  while (!thread_.waitForDone(10)) {
    QCoreApplication::sendPostedEvents(this);
  }
}

void ModelOpener::Open(const QString& path) {
  OpenTask::Receiver receiver;
  const auto add = [this, path](const std::function<void()>& action, const QString& folder) {
    const std::size_t before = document_.GetRoots().size();
    action();
    const std::vector<std::shared_ptr<SceneNode>> roots(
        document_.GetRoots().begin() + static_cast<long>(before), document_.GetRoots().end());
    for (const std::shared_ptr<SceneNode>& root : roots) {
      const QString absolute = QFileInfo(path).absoluteFilePath();
      document_.SetFile(root.get(), {absolute, folder});
      if (root->GetName().empty()) {
        root->SetName(GetTitle(absolute).toStdString());
      }
    }
    document_.TakeSceneChanges();
    for (const std::shared_ptr<SceneNode>& root : roots) {
      emit Opened(path, root.get());
    }
  };
  receiver.progress = [this, title = GetTitle(path)](const QString& text, int percent) {
    QMetaObject::invokeMethod(this, [=] { emit Progressed(text + " " + title, percent); });
  };
  receiver.opened = [this, add](const std::shared_ptr<SceneNode>& root, const QString& folder) {
    QMetaObject::invokeMethod(
        this, [=] { add([&] { document_.GetViewer().GetContext()->GetScene()->AddNode(root); }, folder); });
  };
  receiver.endLoader = [this, add](StreamModelLoader& loader) {
    bool done = false;
    QMetaObject::invokeMethod(
        this, [&] { add([&] { done = loader.End(); }, QString()); }, Qt::BlockingQueuedConnection);
    return done;
  };
  const auto task = std::make_shared<OpenTask>(path, settings_, std::move(receiver));
  tasks_.push_back(task);
  ++waiting_;
  thread_.start([this, task, path, isBehind = !document_.GetRoots().empty()] {
    if (isBehind) {
      StepBack();  // somebody looks at what is there already
    }
    Run(task, path);
  });
}

void ModelOpener::Run(const std::shared_ptr<OpenTask>& task, const QString& path) {
  const bool done = !task->IsCancelled() && task->Run();
  const bool cancelled = task->IsCancelled();
  QMetaObject::invokeMethod(this, [=] {
    --waiting_;
    if (!task->GetMessages().isEmpty()) {
      emit Told(task->GetMessages());
    }
    if (!done && !cancelled) {
      emit Failed(path);
    }
    if (waiting_ == 0) {
      tasks_.clear();
      emit Idle();
    }
  });
}

void ModelOpener::Cancel() {
  for (const std::weak_ptr<OpenTask>& waiting : tasks_) {
    if (const std::shared_ptr<OpenTask> task = waiting.lock()) {
      task->Cancel();
    }
  }
}

}  // namespace mirel

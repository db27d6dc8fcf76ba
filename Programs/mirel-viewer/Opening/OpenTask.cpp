#include <Programs/mirel-viewer/Opening/OpenTask.h>

#include <Programs/mirel-viewer/Document/BackgroundThread.h>
#include <Programs/mirel-viewer/Opening/ConversionCache.h>
#include <Programs/mirel-viewer/Opening/ConverterProcess.h>
#include <Programs/mirel-viewer/Opening/FileKind.h>

#include <Programs/mirel/FailureLog.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/View/PieceDelivery.h>
#include <Programs/mirel/View/TarPieces.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Application/StreamModelLoaderFactory.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <exception>
#include <utility>

namespace mirel {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

QStringList ListFailures(const FailureLog& log) {
  QStringList lines;
  for (const FailureLog::Failure& failure : log.GetFailures()) {
    lines.append(QString::fromStdString(failure.line));
  }
  return lines;
}

}  // namespace

OpenTask::OpenTask(QString path, Settings settings, Receiver receiver)
    : path_(std::move(path)), settings_(std::move(settings)), receiver_(std::move(receiver)) {}

bool OpenTask::Fail(const QString& reason) {
  messages_.append(path_ + ": " + reason);
  return false;
}

bool OpenTask::Run() {
  receiver_.progress("Opening", -1);
  const QFileInfo info(path_);
  if (!info.exists()) {
    return Fail("no such file or folder");
  }
  if (!info.isDir() && !info.isFile()) {
    return Fail("not a regular file");
  }
  try {
    switch (FindFileKind(path_)) {
    case FileKind::kScene:
      return OpenScene(path_, false);
    case FileKind::kArchive:
      return OpenArchive();
    case FileKind::kSource:
      return OpenSource();
    }
  } catch (const std::bad_alloc&) {
    return Fail("out of memory");
  } catch (const std::exception& failure) {
    return Fail(QString::fromUtf8(failure.what()));
  }
  return false;
}

bool OpenTask::OpenScene(const QString& path, bool isFromCache) {
  const std::string refusal = ModelPath::Check(path.toStdString());
  if (!refusal.empty()) {
    return Fail(QString::fromStdString(refusal));
  }
  const std::string index = ModelPath::FindIndex(path.toStdString());
  const std::shared_ptr<SceneReader> reader = SceneExchangeManager::Instance().FindReader(index);
  if (!reader) {
    return Fail("no reader is registered for files of this kind");
  }
  const FailureLog log(path_.toStdString());
  std::atomic<SceneOpening*> current{nullptr};
  SceneOpening opening(reader, index, StagedReader::Bodies::kKeep, [&](const SceneOpening::Progress& at) {
    if (at.stage == SceneOpening::Stage::kBodies) {
      StepBack();  // the picture comes first
    }
    ShowProgress(at);
    SceneOpening* const running = current;
    if (cancelled_ && running != nullptr) {
      running->Cancel();
    }
  });
  current = &opening;
  const std::shared_ptr<SceneNode> root = opening.TakeRoot();
  if (isFromCache && (!root || log.GetCount() > 0)) {
    opening.Cancel();
    return false;  // it is made anew
  }
  if (!root || cancelled_) {
    opening.Cancel();
    messages_ += ListFailures(log);
    return messages_.isEmpty() && !cancelled_
               ? Fail("is not a model folder: its index has no types and items")
               : false;
  }
  receiver_.opened(root, QFileInfo(QString::fromStdString(index)).path());
  opening.Wait();
  messages_ += ListFailures(log);
  return true;
}

void OpenTask::ShowProgress(const SceneOpening::Progress& at) const {
  const int percent = at.bytesInAll == 0 ? -1 : static_cast<int>(at.bytes * 100 / at.bytesInAll);
  receiver_.progress(at.stage == SceneOpening::Stage::kGraphics ? "Opening" : "Reading exact bodies of",
                     percent);
}

bool OpenTask::OpenArchive() {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(QFile::encodeName(path_).constData(), "rb"));
  TarPieces pieces;
  if (!file) {
    return Fail("cannot be read");
  }
  if (!pieces.Load(file.get())) {
    return Fail(QString::fromStdString(pieces.GetError()));
  }
  const std::unique_ptr<StreamModelLoader> loader =
      StreamModelLoaderFactory::Instance().Create(PieceDelivery::kLoader);
  if (!loader) {
    return Fail("no loader for archives is registered");
  }
  const FailureLog log(path_.toStdString());
  const bool done = PieceDelivery(pieces).HandOver(*loader) && !cancelled_ && receiver_.endLoader(*loader);
  messages_ += ListFailures(log);
  return done || cancelled_ || !messages_.isEmpty() ? done : Fail("nothing in it can be shown");
}

bool OpenTask::OpenSource() {
  const ConversionCache cache(settings_.cacheFolder);
  QString reason;
  const QString key = cache.FindKey(path_, reason);
  if (key.isEmpty()) {
    return Fail(reason);
  }
  if (const std::optional<QString> known = cache.Find(key)) {
    if (OpenScene(*known, true)) {
      if (!messages_.isEmpty()) {
        cache.Remove(key);  // the exact bodies are damaged: the next time it is made anew
      }
      return true;
    }
    messages_.clear();
    if (!cancelled_) {
      cache.Remove(key);
    }
  }
  if (cancelled_) {
    return false;
  }
  const QString folder = cache.Prepare(key, reason);
  if (!folder.isEmpty()) {
    if (!Convert(folder)) {
      return false;
    }
    cache.Clean(key);
    return OpenScene(folder, false);
  }
  // Without a cache the model is converted each time, and its folder goes when it is open.
  const QTemporaryDir temporary;
  messages_.append(path_ + ": is not kept for the next time: " + reason);
  const QString once = temporary.path() + "/model";
  return Convert(once) && OpenScene(once, false);
}

bool OpenTask::Convert(const QString& folder) {
  ConverterProcess converter =
      settings_.converter.isEmpty() ? ConverterProcess() : ConverterProcess(settings_.converter);
  const auto watch = [this](const QString& stage, int percent) {
    receiver_.progress("Converting: " + stage, percent);
    return !cancelled_;
  };
  switch (converter.Run(path_, folder, watch)) {
  case ConverterProcess::Result::kDone:
    return true;
  case ConverterProcess::Result::kCancelled:
    return false;
  case ConverterProcess::Result::kFailed:
    break;
  }
  const QString error = converter.GetError();
  if (error.contains(path_)) {
    messages_.append(error);
    return false;
  }
  return Fail(error);
}

}  // namespace mirel

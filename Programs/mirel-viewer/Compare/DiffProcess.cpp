#include <Programs/mirel-viewer/Compare/DiffProcess.h>

#include <Programs/mirel-viewer/Opening/ConverterProcess.h>

#include <QProcess>

namespace mirel {

DiffProcess::DiffProcess(QObject* parent) : QObject(parent), program_(ConverterProcess::FindProgram()) {}

DiffProcess::~DiffProcess() {
  Cancel();
}

void DiffProcess::Start(const QString& older, const QString& newer) {
  Cancel();
  process_ = new QProcess(this);
  connect(process_, &QProcess::finished, this, &DiffProcess::Take);
  connect(process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) {
      emit Failed({tr("%1 cannot be started: %2").arg(process_->program(), process_->errorString())});
    }
  });
  process_->start(program_, {"--quiet", "diff", "--json", "--", older, newer});
}

void DiffProcess::Cancel() {
  if (process_ == nullptr) {
    return;
  }
  process_->disconnect(this);
  if (process_->state() != QProcess::NotRunning) {
    // Asked to end, it removes what it has unpacked.
    connect(process_, &QProcess::finished, process_, &QObject::deleteLater);
    process_->terminate();
    constexpr int kPatienceMilliseconds = 500;
    process_->waitForFinished(kPatienceMilliseconds);
    process_->kill();
  }
  process_->deleteLater();
  process_ = nullptr;
}

QStringList DiffProcess::TakeMessages() {
  static const QString kName = "mirel: ";
  QStringList messages;
  for (QString line : QString::fromUtf8(process_->readAllStandardError()).split('\n', Qt::SkipEmptyParts)) {
    messages.append(line.startsWith(kName) ? line.mid(kName.size()) : line);
  }
  return messages;
}

void DiffProcess::Take() {
  const QStringList messages = TakeMessages();
  if (process_->exitStatus() == QProcess::CrashExit) {
    emit Failed(messages +
                QStringList(tr("the comparison ended in a crash or was killed; a body may be damaged, "
                               "or memory may have ended")));
    return;
  }
  const QByteArray json = process_->readAllStandardOutput();
  if (json.isEmpty()) {
    emit Failed(messages.isEmpty()
                    ? QStringList(tr("the comparison ended with exit code %1").arg(process_->exitCode()))
                    : messages);
    return;
  }
  emit Done(json, messages);
}

}  // namespace mirel

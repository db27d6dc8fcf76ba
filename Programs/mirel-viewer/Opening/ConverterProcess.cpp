#include <Programs/mirel-viewer/Opening/ConverterProcess.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace mirel {

namespace {

constexpr int kPollMilliseconds = 50;
constexpr int kPatienceMilliseconds = 3000;  // for a process that was asked to end
constexpr int kMaxMessages = 50;

}  // namespace

QString ConverterProcess::FindProgram() {
  const QString beside = QCoreApplication::applicationDirPath() + "/mirel";
  return QFileInfo(beside).isExecutable() ? beside : QStandardPaths::findExecutable("mirel");
}

ConverterProcess::Result ConverterProcess::Run(const QString& source, const QString& folder,
                                               const Watcher& watcher) {
  if (program_.isEmpty()) {
    error_ = "the program mirel, which converts it, is not installed";
    return Result::kFailed;
  }
  QProcess process;
  process.setStandardOutputFile(QProcess::nullDevice());
  process.start(program_, {"--quiet", "--progress", "save", "--force", "--", source, folder});
  if (!process.waitForStarted()) {
    error_ = program_ + " cannot be started: " + process.errorString();
    return Result::kFailed;
  }
  QString stage = "reading";
  int percent = -1;
  QByteArray pending;
  while (process.state() != QProcess::NotRunning) {
    process.waitForReadyRead(kPollMilliseconds);
    process.setReadChannel(QProcess::StandardError);
    while (process.canReadLine()) {
      ReadLines(process.readLine(), stage, percent);
    }
    if (!watcher(stage, percent)) {
      process.terminate();  // it removes what it has begun
      if (!process.waitForFinished(kPatienceMilliseconds)) {
        process.kill();
        process.waitForFinished();
      }
      return Result::kCancelled;
    }
    if (process.state() == QProcess::Running) {
      process.waitForFinished(1);
    }
  }
  process.setReadChannel(QProcess::StandardError);
  while (!process.atEnd()) {
    ReadLines(process.readLine(), stage, percent);
  }
  if (process.exitStatus() == QProcess::CrashExit) {
    error_ =
        QString("the converter ended in a crash or was killed while it was %1; the file may be damaged, or "
                "memory may have ended")
            .arg(stage);
    return Result::kFailed;
  }
  if (process.exitCode() != 0) {
    error_ = messages_.isEmpty() ? QString("the converter ended with exit code %1").arg(process.exitCode())
                                 : messages_.join('\n');
    return Result::kFailed;
  }
  return Result::kDone;
}

void ConverterProcess::ReadLines(const QByteArray& text, QString& stage, int& percent) {
  static const QString kProgress = "progress: ", kName = "mirel: ";
  QString line = QString::fromUtf8(text).trimmed();
  if (line.startsWith(kProgress)) {
    const QStringList words = line.mid(kProgress.size()).split(' ');
    bool isNumber = false;
    percent = words.back().toInt(&isNumber);
    stage = (isNumber ? words.mid(0, words.size() - 1) : words).join(' ');
    percent = isNumber ? percent : -1;
    return;
  }
  if (line.startsWith(kName)) {
    line.remove(0, kName.size());
  }
  if (!line.isEmpty() && messages_.size() < kMaxMessages) {
    messages_.append(line);
  }
}

}  // namespace mirel

#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

class QProcess;

namespace mirel {

/// Runs `mirel diff` as a process of its own, so that what damaged bodies do to it ends there. Used by the window's thread, which
/// goes on meanwhile.
class DiffProcess : public QObject {
  Q_OBJECT

 public:
  explicit DiffProcess(QObject* parent = nullptr);
  /// Ends it.
  ~DiffProcess() override;

  /// In place of the usual program `mirel`.
  void SetProgram(const QString& program) { program_ = program; }

  /// Compares two models, as the program takes them; calls off what runs.
  void Start(const QString& older, const QString& newer);
  /// Nothing is heard of it any more.
  void Cancel();

 signals:
  /// The report as JSON, and what could not be read of both.
  void Done(const QByteArray& json, const QStringList& messages);
  void Failed(const QStringList& messages);

 private:
  void Take();
  QStringList TakeMessages();

  QString program_;
  QProcess* process_ = nullptr;
};

}  // namespace mirel

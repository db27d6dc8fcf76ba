#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace mirel {

/// Runs `mirel save` as a process of its own, so that what a damaged file does to the reader ends there.
class ConverterProcess {
 public:
  enum class Result { kDone, kFailed, kCancelled };

  /// The program `mirel`: the one beside this program, or the one in the search path; empty when there is none.
  static QString FindProgram();

  /// Hears the stage and the percentage (-1: not known) a few times a second; false calls it off.
  using Watcher = std::function<bool(const QString& stage, int percent)>;

  explicit ConverterProcess(QString program = FindProgram()) : program_(std::move(program)) {}

  /// Saves `source` as the model folder `folder`, which is replaced. Waits for the end; not for the window's thread.
  Result Run(const QString& source, const QString& folder, const Watcher& watcher);

  /// What went wrong, for the user.
  const QString& GetError() const { return error_; }

 private:
  void ReadLines(const QByteArray& text, QString& stage, int& percent);

  const QString program_;
  QString error_;
  QStringList messages_;
};

}  // namespace mirel

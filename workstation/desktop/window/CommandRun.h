// One command of the program in a process of its own, with what it says as it comes.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <string>
#include <vector>

namespace workstation {

/// Used on the thread of the windows. The child is never killed from here, only interrupted; at the window's end one
/// that still runs goes on by itself.
class CommandRun : public QObject {
  Q_OBJECT
 public:
  explicit CommandRun(QObject* parent = nullptr);
  ~CommandRun() override;
  Q_DISABLE_COPY_MOVE(CommandRun)

  /// @param mayAsk  its questions are windows; otherwise they get their denying answer
  void start(const std::string& program, const std::vector<std::string>& words, bool mayAsk);
  bool isRunning() const { return process_ != nullptr; }
  /// As Ctrl-C at a terminal: every command may be interrupted, and leaves nothing half-done.
  void interrupt();

 Q_SIGNALS:
  void saidResult(const QByteArray& bytes);
  void saidMessage(const QByteArray& bytes);
  /// @param exitCode  -1: ended by a signal; `failure` then tells which, or why it did not start
  void ended(int exitCode, const QString& failure);

 private:
  void finish(int exitCode, const QString& failure);

  QProcess* process_ = nullptr;
};

}  // namespace workstation

#include "workstation/desktop/window/CommandRun.h"

#include <signal.h>

#include <utility>

namespace workstation {
namespace {

constexpr const char* kInterfaceVariable = "ZEPHOR_INTERFACE";

}  // namespace

CommandRun::CommandRun(QObject* parent) : QObject(parent) {}

CommandRun::~CommandRun() {
  // Deleting a process kills it; one that still works is left to the system.
  if (process_ != nullptr) process_->setParent(nullptr);
}

void CommandRun::start(const std::string& program, const std::vector<std::string>& words, bool mayAsk) {
  process_ = new QProcess(this);
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QString::fromLatin1(kInterfaceVariable), mayAsk ? "desktop" : "terminal");
  process_->setProcessEnvironment(environment);
  process_->setStandardInputFile(QProcess::nullDevice());
  connect(process_, &QProcess::readyReadStandardOutput, this,
          [this] { Q_EMIT saidResult(process_->readAllStandardOutput()); });
  connect(process_, &QProcess::readyReadStandardError, this,
          [this] { Q_EMIT saidMessage(process_->readAllStandardError()); });
  connect(process_, &QProcess::finished, this, [this](int exitCode, QProcess::ExitStatus status) {
    finish(status == QProcess::NormalExit ? exitCode : -1, {});
  });
  connect(process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) finish(-1, process_->errorString());
  });
  QStringList arguments;
  for (const std::string& word : words) arguments.append(QString::fromStdString(word));
  process_->start(QString::fromStdString(program), arguments);
}

void CommandRun::interrupt() {
  // A process that has ended and was not waited for is not "running" any more.
  if (process_ == nullptr || process_->state() != QProcess::Running) return;
  ::kill(static_cast<pid_t>(process_->processId()), SIGINT);
}

void CommandRun::finish(int exitCode, const QString& failure) {
  if (process_ == nullptr) return;
  if (const QByteArray bytes = process_->readAllStandardOutput(); !bytes.isEmpty()) Q_EMIT saidResult(bytes);
  if (const QByteArray bytes = process_->readAllStandardError(); !bytes.isEmpty()) Q_EMIT saidMessage(bytes);
  std::exchange(process_, nullptr)->deleteLater();
  Q_EMIT ended(exitCode, failure);
}

}  // namespace workstation

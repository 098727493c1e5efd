#include "workstation/desktop/window/ProjectWindow.h"

#include <QAction>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QScrollBar>
#include <QUrl>
#include <algorithm>
#include <utility>

namespace workstation {
namespace {

constexpr int kPause = 5000;      // milliseconds between two readings
constexpr int kShareOfTime = 20;  // a reading takes one part of so many of the time
constexpr qint64 kLongestReading = 60'000;
constexpr int kShortPause = 1000;  // milliseconds for which what is shown counts as new
constexpr int kLeavingLimit = 10'000;
constexpr const char* kProgramPrefix = "zephor: ";

// As the program's manual page tells them.
constexpr int kDone = 0;
constexpr int kPartlyDone = 3;

WindowText outcomeOf(int exitCode) {
  switch (exitCode) {
    case kDone:
      return WindowText::Done;
    case 1:
      return WindowText::Failed;
    case 2:
      return WindowText::Misused;
    case kPartlyDone:
      return WindowText::PartlyDone;
    case 4:
      return WindowText::LockedByOther;
    case 5:
      return WindowText::NotLoggedIn;
    default:
      return WindowText::EndedOddly;
  }
}

QString withoutPrefix(const QString& text) {
  return text.startsWith(QLatin1String(kProgramPrefix)) ? text.mid(static_cast<int>(qstrlen(kProgramPrefix))) : text;
}

QString plain(QString text) {
  return text.remove(QLatin1Char('&'));
}

}  // namespace

ProjectWindow::ProjectWindow(DesktopWindowOptions options) : options_(std::move(options)) {
  build();
  timer_.setSingleShot(true);
  connect(&timer_, &QTimer::timeout, this, [this] {
    if (isVisible() && !isMinimized()) refresh();
  });
  connect(&leaving_, &QTimer::timeout, this, [this] {
    if (std::exchange(isInterrupted_, true)) Q_EMIT closed();
    run_.interrupt();
  });
  connect(&run_, &CommandRun::saidResult, this, &ProjectWindow::onResult);
  connect(&run_, &CommandRun::saidMessage, this, &ProjectWindow::onMessage);
  connect(&run_, &CommandRun::ended, this, &ProjectWindow::onEnded);
  updateCommands();
}

void ProjectWindow::refresh() {
  if (run_.isRunning()) return;
  timer_.stop();
  isReading_ = true;
  status_ = StatusLines();
  statusMessages_.clear();
  reading_.start();
  if (!project_) statusText_->setText(windowText(WindowText::Reading));
  busy_->setVisible(!project_);
  std::vector<std::string> words = options_.arguments;
  words.insert(words.end(), {"--json", "status", "--project-line"});
  run_.start(options_.program, words, false);
}

void ProjectWindow::run(Command command) {
  const std::vector<const StatusRow*> selected = selectedRows();
  if (!isCurrent_ || waiting_ || (run_.isRunning() && !isReading_) || !makesSense(command, selected, rows_.hasUnsent()))
    return;
  const Order order{plain(commands_.at(command)->text()), wordsOf(command, selected),
                    pinned(options_.arguments, project_->uuid)};
  if (!run_.isRunning()) return start(order);
  waiting_ = order;
  statusText_->setText(windowText(WindowText::Waiting).arg(order.title));
  interruptButton_->show();
  updateCommands();
}

void ProjectWindow::start(const Order& order) {
  timer_.stop();
  isReading_ = false;
  isInterrupted_ = false;
  title_ = order.title;
  QString line = QStringLiteral("zephor");
  for (const std::string& word : order.words) line += QLatin1Char(' ') + QString::fromStdString(word);
  log_->addFrame(line);
  statusText_->setText(windowText(WindowText::Running).arg(title_));
  statusText_->setToolTip({});
  busy_->show();
  interruptButton_->show();
  std::vector<std::string> words = order.arguments;
  words.insert(words.end(), order.words.begin(), order.words.end());
  run_.start(options_.program, words, true);
  updateCommands();
}

void ProjectWindow::onResult(const QByteArray& bytes) {
  if (isReading_) {
    status_.add({bytes.constData(), static_cast<std::size_t>(bytes.size())});
  } else {
    log_->add(LogPane::Kind::Result, bytes);
  }
}

void ProjectWindow::onMessage(const QByteArray& bytes) {
  if (isReading_) {
    statusMessages_ += bytes;
  } else {
    log_->add(LogPane::Kind::Message, bytes);
  }
}

void ProjectWindow::onEnded(int exitCode, const QString& failure) {
  const bool wasReading = std::exchange(isReading_, false);
  busy_->hide();
  interruptButton_->hide();
  wasReading ? endReading(exitCode, failure) : endCommand(exitCode, failure);
  updateCommands();
}

void ProjectWindow::endReading(int exitCode, const QString& failure) {
  status_.finish();
  const QString messages = withoutPrefix(QString::fromUtf8(statusMessages_).trimmed());
  const bool hasAnswered = exitCode == kDone || exitCode == kPartlyDone;
  if (hasAnswered && status_.problem().empty() && status_.project()) {
    showStatus(status_);
  } else if (hasAnswered) {
    tellUnread(windowText(WindowText::Malformed).arg(QString::fromStdString(status_.problem())));
  } else {
    const QString reason = !failure.isEmpty() ? failure
                           : messages.isEmpty()
                               ? windowText(WindowText::EndedOddly).arg(QStringLiteral("status")).arg(exitCode)
                               : messages;
    tellUnread(windowText(WindowText::NoState).arg(reason));
  }
  const bool isTold = rows_.rowCount() == 0 || !isCurrent_ || messages.isEmpty() || messages == toldMessages_;
  if (!isTold) log_->addFrame(QStringLiteral("zephor status\n") + messages);
  toldMessages_ = messages;
  const auto took = static_cast<int>(std::min(reading_.elapsed(), kLongestReading));
  scheduleReading(std::max(kPause, took * kShareOfTime));
  if (waiting_ && isCurrent_) return start(*std::exchange(waiting_, std::nullopt));
  if (waiting_) return dropWaiting(WindowText::NotBegun);
  if (closes_) close();
}

void ProjectWindow::dropWaiting(WindowText reason) {
  if (!waiting_) return;
  const QString text = windowText(reason).arg(std::exchange(waiting_, std::nullopt)->title);
  log_->addFrame(text);
  statusText_->setText(text);
  settleClosing(reason == WindowText::Interrupted);
}

void ProjectWindow::endCommand(int exitCode, const QString& failure) {
  log_->flush();
  QString text;
  if (!failure.isEmpty()) {
    text = windowText(WindowText::NotStarted).arg(title_, failure);
  } else if (exitCode < 0 && isInterrupted_) {
    text = windowText(WindowText::Interrupted).arg(title_);
  } else {
    text = windowText(outcomeOf(exitCode)).arg(title_);
    if (outcomeOf(exitCode) == WindowText::EndedOddly) text = text.arg(exitCode);
  }
  const QString result = log_->firstResult();
  const QString message = withoutPrefix(log_->firstMessage());
  log_->addFrame(text);
  const bool tellsMore = exitCode > kDone && exitCode != kPartlyDone;
  if (tellsMore) text += QStringLiteral(" – ") + (exitCode == 4 || message.isEmpty() ? result : message);
  statusText_->setText(text);
  statusText_->setToolTip(text);
  settleClosing(exitCode == kDone || isInterrupted_);
  if (isVisible()) refresh();
}

void ProjectWindow::showStatus(const StatusLines& status) {
  // The same numbers mean other objects in another project: nothing stays selected.
  if (!project_ || project_->uuid != status.project()->uuid) {
    rows_.take({});
    statusText_->clear();
    dropWaiting(WindowText::NotBegun);
  }
  project_ = status.project();
  readAt_ = QDateTime::currentDateTime();
  isCurrent_ = true;
  const int place = table_->verticalScrollBar()->value();
  rows_.take(status.rows());
  table_->verticalScrollBar()->setValue(place);
  heading_->setText(QString::fromStdString(project_->name));
  heading_->setToolTip(QString::fromStdString(project_->directory));
  const bool isDry = std::count(options_.arguments.begin(), options_.arguments.end(), "--dry-run") != 0;
  setWindowTitle(QStringLiteral("%1 – %2 – %3")
                     .arg(heading_->text(), QString::fromStdString(project_->user),
                          windowText(isDry ? WindowText::DryRun : WindowText::Title)));
  banner_->setText(windowText(WindowText::NoObjects));
  banner_->setVisible(status.rows().empty());
  updateCounts();
}

void ProjectWindow::tellUnread(const QString& reason) {
  isCurrent_ = false;
  QString text = reason;
  if (readAt_.isValid())
    text += QLatin1Char('\n') + windowText(WindowText::OldState).arg(readAt_.toString(QStringLiteral("HH:mm:ss")));
  banner_->setText(text);
  banner_->show();
  if (!project_) statusText_->clear();
}

void ProjectWindow::scheduleReading(int pause) {
  timer_.start(pause);
}

void ProjectWindow::interrupt() {
  if (waiting_) {
    interruptButton_->hide();
    dropWaiting(WindowText::Interrupted);
    return updateCommands();
  }
  if (!run_.isRunning() || isReading_) return;
  isInterrupted_ = true;
  statusText_->setText(windowText(WindowText::Interrupting));
  run_.interrupt();
}

void ProjectWindow::closeEvent(QCloseEvent* event) {
  if (!run_.isRunning()) {
    event->accept();
    Q_EMIT closed();
    return;
  }
  event->ignore();
  if (!isReading_ || waiting_) return askBeforeClosing();
  // It changes nothing, and ends its session with the store by itself when it is left a moment.
  closes_ = true;
  hide();
  isInterrupted_ = false;
  leaving_.start(kLeavingLimit);
}

void ProjectWindow::askBeforeClosing() {
  if (question_ != nullptr) return question_->raise();
  question_ = new QMessageBox(QMessageBox::Question, windowText(WindowText::CloseTitle),
                              windowText(WindowText::CloseQuestion).arg(waiting_ ? waiting_->title : title_),
                              QMessageBox::NoButton, this);
  question_->setAttribute(Qt::WA_DeleteOnClose);
  QPushButton* const then = question_->addButton(windowText(WindowText::CloseThen), QMessageBox::AcceptRole);
  QPushButton* const stop =
      question_->addButton(windowText(WindowText::CloseInterrupted), QMessageBox::DestructiveRole);
  QPushButton* const stay = question_->addButton(windowText(WindowText::CloseNever), QMessageBox::RejectRole);
  question_->setDefaultButton(then);
  question_->setEscapeButton(stay);
  connect(then, &QPushButton::clicked, this, [this] { closes_ = true; });
  connect(stop, &QPushButton::clicked, this, [this] {
    closes_ = true;
    interrupt();
  });
  question_->open();
}

void ProjectWindow::settleClosing(bool mayClose) {
  // Who was just asked wanted to close, and need not answer any more.
  const bool wants = closes_ || question_ != nullptr;
  if (question_ != nullptr) question_->close();
  closes_ = false;
  if (wants && mayClose) close();
}

void ProjectWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  const bool comesBack = event->type() == QEvent::ActivationChange && isActiveWindow();
  const bool isOld = !readAt_.isValid() || readAt_.msecsTo(QDateTime::currentDateTime()) > kShortPause;
  if (comesBack && isOld && isIdle() && isVisible()) refresh();
  if (event->type() == QEvent::WindowStateChange && !isMinimized() && isIdle() && isVisible()) scheduleReading(0);
}

void ProjectWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (isIdle()) scheduleReading(0);
}

void ProjectWindow::openFolder() {
  const QString directory = QString::fromStdString(project_->directory);
  if (QDesktopServices::openUrl(QUrl::fromLocalFile(directory))) return;
  const QString text = windowText(WindowText::NoFolder).arg(directory);
  log_->addFrame(text);
  statusText_->setText(text);
}

void ProjectWindow::updateCommands() {
  const bool isFree = isCurrent_ && !waiting_ && (!run_.isRunning() || isReading_);
  const std::vector<const StatusRow*> selected = selectedRows();
  for (const auto& [command, action] : commands_)
    action->setEnabled(isFree && makesSense(command, selected, rows_.hasUnsent()));
  openFolder_->setEnabled(project_.has_value());
}

void ProjectWindow::updateCounts() {
  counts_->setText(windowText(WindowText::Counts)
                       .arg(rows_.rowCount())
                       .arg(filter_.rowCount())
                       .arg(table_->selectionModel()->selectedRows().size()));
}

std::vector<const StatusRow*> ProjectWindow::selectedRows() const {
  std::vector<int> places;
  for (const QModelIndex& index : table_->selectionModel()->selectedRows())
    places.push_back(filter_.mapToSource(index).row());
  std::sort(places.begin(), places.end());
  std::vector<const StatusRow*> rows;
  rows.reserve(places.size());
  for (const int place : places) rows.push_back(&rows_.row(place));
  return rows;
}

}  // namespace workstation

// The window of `zephor desktop`: a face of the program's commands. It reads the state with `status`, and each button
// is a command; all of them run as processes of their own, one at a time.
#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "workstation/desktop/Desktop.h"
#include "workstation/desktop/window/CommandLine.h"
#include "workstation/desktop/window/CommandRun.h"
#include "workstation/desktop/window/LogPane.h"
#include "workstation/desktop/window/ObjectTable.h"
#include "workstation/desktop/window/StatusLines.h"
#include "workstation/desktop/window/WindowTexts.h"

namespace workstation {

class ProjectWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit ProjectWindow(DesktopWindowOptions options);

  /// Reads the state now, unless something runs; then what runs is followed by a reading anyway.
  void refresh();
  void run(Command command);
  /// Neither a command nor a reading runs, nor waits.
  bool isIdle() const { return !run_.isRunning() && !waiting_; }

 Q_SIGNALS:
  /// The window has gone, and nothing of it runs any more.
  void closed();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  /// A command that was asked for, as it is to be run and as it is told.
  struct Order {
    QString title;
    std::vector<std::string> words;
    std::vector<std::string> arguments;
  };

  void build();
  QWidget* buildHead();
  QWidget* buildButtons();
  void buildTable();
  void buildStatusBar();
  QAction* addCommand(QLayout* layout, WindowText text, WindowText tip, const QKeySequence& keys);

  void start(const Order& order);
  void onResult(const QByteArray& bytes);
  void onMessage(const QByteArray& bytes);
  void onEnded(int exitCode, const QString& failure);
  void endReading(int exitCode, const QString& failure);
  void endCommand(int exitCode, const QString& failure);
  void showStatus(const StatusLines& status);
  /// For a command that was to follow a reading.
  void dropWaiting(WindowText reason);
  void tellUnread(const QString& reason);
  void scheduleReading(int pause);
  void interrupt();
  void askBeforeClosing();
  /// What was waited for has ended; what did not end well is to be seen, so that the window stays then.
  void settleClosing(bool mayClose);
  void openFolder();
  void updateCommands();
  void updateCounts();
  std::vector<const StatusRow*> selectedRows() const;

  const DesktopWindowOptions options_;
  CommandRun run_;
  bool isReading_ = false;  ///< what runs is a status
  StatusLines status_;
  QByteArray statusMessages_;
  QString toldMessages_;  ///< of the last status, told once
  std::optional<Order> waiting_;
  QString title_;  ///< of the command that runs
  bool isInterrupted_ = false;
  bool closes_ = false;     ///< at the end of what runs
  bool isCurrent_ = false;  ///< what is shown is what the last reading told
  std::optional<ShownProject> project_;
  QDateTime readAt_;
  QElapsedTimer reading_;
  QTimer timer_;
  QTimer leaving_;  ///< limits how long a window that is gone waits for a reading

  ObjectTable rows_;
  ObjectFilter filter_;
  QLabel* heading_ = nullptr;
  QLineEdit* filterBox_ = nullptr;
  QLabel* banner_ = nullptr;
  QTableView* table_ = nullptr;
  LogPane* log_ = nullptr;
  QLabel* statusText_ = nullptr;
  QLabel* counts_ = nullptr;
  QProgressBar* busy_ = nullptr;
  QPushButton* interruptButton_ = nullptr;
  std::map<Command, QAction*> commands_;
  QAction* openFolder_ = nullptr;
  QAction* refresh_ = nullptr;
  QPointer<QMessageBox> question_;
};

}  // namespace workstation

// What the window is made of; its behaviour stands in ProjectWindow.cpp.
#include <QAction>
#include <QHeaderView>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include "workstation/desktop/window/ProjectWindow.h"

namespace workstation {
namespace {

constexpr QSize kFirstSize{1080, 640};
constexpr int kBusyWidth = 120;
constexpr int kFilterWidth = 260;
constexpr int kHeadingGrowth = 3;  // points

}  // namespace

void ProjectWindow::build() {
  setWindowTitle(windowText(WindowText::Title));
  auto* const content = new QWidget(this);
  auto* const column = new QVBoxLayout(content);
  column->addWidget(buildHead());
  column->addWidget(buildButtons());
  banner_ = new QLabel(content);
  banner_->setWordWrap(true);
  banner_->setTextFormat(Qt::PlainText);
  banner_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  banner_->setFrameShape(QFrame::StyledPanel);
  banner_->setMargin(kHeadingGrowth * 2);
  banner_->setAutoFillBackground(true);
  banner_->setBackgroundRole(QPalette::ToolTipBase);
  banner_->setForegroundRole(QPalette::ToolTipText);
  banner_->hide();
  column->addWidget(banner_);
  auto* const parts = new QSplitter(Qt::Vertical, content);
  buildTable();
  parts->addWidget(table_);
  log_ = new LogPane(parts);
  log_->setAccessibleName(windowText(WindowText::Log));
  log_->setPlaceholderText(windowText(WindowText::Log));
  parts->addWidget(log_);
  parts->setStretchFactor(0, 3);
  parts->setStretchFactor(1, 1);
  parts->setChildrenCollapsible(false);
  column->addWidget(parts, 1);
  setCentralWidget(content);
  buildStatusBar();
  auto* const leave = new QAction(this);
  leave->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::CTRL | Qt::Key_W)});
  connect(leave, &QAction::triggered, this, &QWidget::close);
  addAction(leave);
  resize(kFirstSize);
  table_->setFocus();
}

QWidget* ProjectWindow::buildHead() {
  auto* const head = new QWidget(this);
  auto* const line = new QHBoxLayout(head);
  line->setContentsMargins(0, 0, 0, 0);
  heading_ = new QLabel(head);
  heading_->setTextFormat(Qt::PlainText);
  QFont font = heading_->font();
  font.setPointSize(font.pointSize() + kHeadingGrowth);
  font.setBold(true);
  heading_->setFont(font);
  heading_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  line->addWidget(heading_, 1);
  filterBox_ = new QLineEdit(head);
  filterBox_->setPlaceholderText(windowText(WindowText::FilterHint));
  filterBox_->setClearButtonEnabled(true);
  filterBox_->setFixedWidth(kFilterWidth);
  auto* const label = new QLabel(windowText(WindowText::Filter), head);
  label->setBuddy(filterBox_);
  line->addWidget(label);
  line->addWidget(filterBox_);
  connect(filterBox_, &QLineEdit::textChanged, this, [this](const QString& text) {
    filter_.setWords(text);
    updateCommands();
    updateCounts();
  });
  auto* const find = new QAction(this);
  find->setShortcut(QKeySequence::Find);
  connect(find, &QAction::triggered, this, [this] {
    filterBox_->setFocus();
    filterBox_->selectAll();
  });
  addAction(find);
  return head;
}

QAction* ProjectWindow::addCommand(QLayout* layout, WindowText text, WindowText tip, const QKeySequence& keys) {
  auto* const action = new QAction(windowText(text), this);
  action->setShortcut(keys);
  addAction(action);
  auto* const button = new QPushButton(windowText(text), this);
  const QString keyText = QStringLiteral(" (%1)").arg(keys.toString(QKeySequence::NativeText));
  button->setToolTip(windowText(tip) + keyText);
  button->setAccessibleDescription(windowText(tip));
  button->setAutoDefault(false);
  connect(button, &QPushButton::clicked, action, &QAction::trigger);
  connect(action, &QAction::changed, button, [button, action] { button->setEnabled(action->isEnabled()); });
  layout->addWidget(button);
  return action;
}

QWidget* ProjectWindow::buildButtons() {
  struct Button {
    Command command;
    WindowText text;
    WindowText tip;
    QKeySequence keys;
    bool endsGroup;
  };
  const std::vector<Button> buttons{
      {Command::Lock, WindowText::Lock, WindowText::LockTip, Qt::CTRL | Qt::Key_L, false},
      {Command::Unlock, WindowText::Unlock, WindowText::UnlockTip, Qt::CTRL | Qt::Key_U, true},
      {Command::Save, WindowText::Save, WindowText::SaveTip, Qt::CTRL | Qt::Key_S, false},
      {Command::Fetch, WindowText::Fetch, WindowText::FetchTip, Qt::CTRL | Qt::Key_G, false},
      {Command::Sync, WindowText::Sync, WindowText::SyncTip, Qt::CTRL | Qt::Key_Y, false},
      {Command::SendAgain, WindowText::SendAgain, WindowText::SendAgainTip, Qt::CTRL | Qt::Key_E, true},
      {Command::BackgroundLog, WindowText::BackgroundLog, WindowText::BackgroundLogTip, Qt::CTRL | Qt::Key_B, false},
  };
  auto* const row = new QWidget(this);
  auto* const line = new QHBoxLayout(row);
  line->setContentsMargins(0, 0, 0, 0);
  for (const Button& button : buttons) {
    QAction* const action = addCommand(line, button.text, button.tip, button.keys);
    connect(action, &QAction::triggered, this, [this, command = button.command] { run(command); });
    commands_[button.command] = action;
    if (button.endsGroup) line->addSpacing(line->spacing() * 2);
  }
  openFolder_ = addCommand(line, WindowText::OpenFolder, WindowText::OpenFolderTip, Qt::CTRL | Qt::Key_O);
  connect(openFolder_, &QAction::triggered, this, &ProjectWindow::openFolder);
  refresh_ = addCommand(line, WindowText::Refresh, WindowText::RefreshTip, QKeySequence(Qt::Key_F5));
  connect(refresh_, &QAction::triggered, this, &ProjectWindow::refresh);
  line->addStretch(1);
  return row;
}

void ProjectWindow::buildTable() {
  filter_.setSourceModel(&rows_);
  table_ = new QTableView(this);
  table_->setModel(&filter_);
  table_->setAccessibleName(windowText(WindowText::Objects));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setAlternatingRowColors(true);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setTabKeyNavigation(false);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + kHeadingGrowth * 3);
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->setSortingEnabled(true);
  table_->sortByColumn(kObjectColumn, Qt::AscendingOrder);
  table_->setContextMenuPolicy(Qt::ActionsContextMenu);
  for (const auto& [command, action] : commands_) table_->addAction(action);
  table_->addAction(refresh_);
  const int letter = table_->fontMetrics().averageCharWidth();
  const std::map<int, int> letters{{kObjectColumn, 12}, {kNameColumn, 30}, {kStateColumn, 34},
                                   {kHolderColumn, 26}, {kHereColumn, 8},  {kStoreColumn, 10}};
  for (const auto& [column, count] : letters) table_->setColumnWidth(column, letter * count);
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
    updateCommands();
    updateCounts();
  });
}

void ProjectWindow::buildStatusBar() {
  statusText_ = new QLabel(this);
  statusText_->setTextFormat(Qt::PlainText);
  statusText_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  statusText_->setIndent(kHeadingGrowth * 2);
  statusBar()->addWidget(statusText_, 1);
  busy_ = new QProgressBar(this);
  busy_->setRange(0, 0);
  busy_->setTextVisible(false);
  busy_->setFixedWidth(kBusyWidth);
  busy_->setAccessibleName(windowText(WindowText::Working));
  statusBar()->addPermanentWidget(busy_);
  interruptButton_ = new QPushButton(windowText(WindowText::Interrupt), this);
  interruptButton_->setToolTip(windowText(WindowText::InterruptTip));
  connect(interruptButton_, &QPushButton::clicked, this, &ProjectWindow::interrupt);
  statusBar()->addPermanentWidget(interruptButton_);
  counts_ = new QLabel(this);
  statusBar()->addPermanentWidget(counts_);
  busy_->hide();
  interruptButton_->hide();
}

}  // namespace workstation

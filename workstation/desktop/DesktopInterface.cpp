#include "workstation/desktop/DesktopInterface.h"

#include <QApplication>
#include <QFileDialog>
#include <QRegularExpression>
#include <QScreen>
#include <utility>

#include "host/UserMessages.h"
#include "platform/Paths.h"
#include "workstation/desktop/DialogWindow.h"
#include "workstation/desktop/GuiThread.h"
#include "workstation/desktop/MessageBoxWindow.h"
#include "workstation/desktop/ProgressWindow.h"
#include "workstation/desktop/ShownTexts.h"

namespace workstation {
namespace {

/// Asks nothing about a file that is there.
QFileDialog* makeFileDialog(const QString& filter) {
  auto* const dialog = new QFileDialog;
  dialog->setModal(true);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setOption(QFileDialog::DontConfirmOverwrite);
  dialog->setNameFilter(filter);
  // "ZIP (*.zip)": a name without an ending gets this one.
  const qsizetype ending = filter.indexOf("*.");
  if (ending >= 0) dialog->setDefaultSuffix(filter.mid(ending + 2).section(QRegularExpression("[^0-9A-Za-z]"), 0, 0));
  return dialog;
}

}  // namespace

DesktopInterface::DesktopInterface(std::unique_ptr<GuiThread> gui) : gui_(std::move(gui)) {}

DesktopInterface::~DesktopInterface() = default;

int DesktopInterface::messageBox(const platform::MessageBoxRequest& request) {
  int answer = platform::denyingAnswer(request.style);
  const std::lock_guard lock(questions_);
  if (Msg2usr_IsDeny()) return answer;
  MessageBoxWindow* box = nullptr;
  gui_->show([&] { return box = new MessageBoxWindow(request); },
             [&](int result) { answer = box->isChecked() ? result | platform::kBoxChecked : result; });
  return answer;
}

std::wstring DesktopInterface::askFileName(const platform::FileNameRequest& request) {
  std::wstring path;
  const std::lock_guard lock(questions_);
  if (Msg2usr_IsDeny()) return path;
  QFileDialog* dialog = nullptr;
  gui_->show([&] { return dialog = makeFileDialog(shownText(request.filter)); },
             [&](int result) {
               const QStringList files = dialog->selectedFiles();
               if (result != QDialog::Accepted || files.isEmpty()) return;
               path = platform::libraryPath(files.front().toStdString());
             });
  return path;
}

int DesktopInterface::showDialog(platform::Dialog& dialog) {
  int button = IDCANCEL;
  const std::lock_guard lock(questions_);
  if (Msg2usr_IsDeny()) return button;
  gui_->show([&] { return new DialogWindow(dialog); },
             [&](int result) { button = result == QDialog::Rejected ? IDCANCEL : result; });
  return button;
}

std::unique_ptr<platform::IProgressWindow> DesktopInterface::createProgressWindow(const std::wstring& title, int width,
                                                                                  int height) {
  return std::make_unique<ProgressWindow>(*gui_, title, width, height);
}

int DesktopInterface::pixelDensity() const {
  int density = 0;
  gui_->run([&] { density = qRound(QGuiApplication::primaryScreen()->logicalDotsPerInchX()); });
  return density;
}

void DesktopInterface::setBusyCursor(bool busy) {
  gui_->run([busy] {
    const bool isBusy = QGuiApplication::overrideCursor() != nullptr;
    if (busy && !isBusy) QGuiApplication::setOverrideCursor(Qt::BusyCursor);
    if (!busy && isBusy) QGuiApplication::restoreOverrideCursor();
  });
}

int DesktopInterface::open(const std::wstring& target) {
  return platform::openWithDesktop(target);
}

platform::IUserInterface* startDesktopInterface(std::string& error) {
  std::unique_ptr<GuiThread> gui = GuiThread::start(error);
  return gui ? new DesktopInterface(std::move(gui)) : nullptr;
}

}  // namespace workstation

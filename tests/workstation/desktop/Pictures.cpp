// Draws the boxes, the dialogs and the progress window into pictures, for people to look at.
// Usage: zephor_desktop_pictures DIRECTORY LANGUAGE STYLE, on a display of its own
#include <QApplication>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "platform/UserInterface.h"
#include "workstation/desktop/DesktopInterface.h"
#include "workstation/ui/BoxButtons.h"
#include "workstation/ui/HostInterface.h"
#include "zephor/LoginDialog.h"

namespace {

using platform::MessageBoxRequest;

QString directory;
QString suffix;

void onGui(const std::function<void()>& work) {
  QMetaObject::invokeMethod(qApp, work, Qt::BlockingQueuedConnection);
}

/// Draws every window that is up, the one on top of the others last.
void draw(const char* name) {
  const QString file = directory + "/" + name + suffix;
  QPixmap picture = QGuiApplication::primaryScreen()->grabWindow();
  QRect place;
  for (const QWidget* each : QApplication::topLevelWidgets()) {
    if (each->isVisible()) place = place.united(each->frameGeometry());
  }
  if (!picture.copy(place).save(file)) std::fprintf(stderr, "%s can't be written\n", qPrintable(file));
}

void closeAll() {
  for (QWidget* each : QApplication::topLevelWidgets()) {
    if (each->isModal()) each->close();
  }
}

/// Draws what comes up meanwhile, and closes it.
/// @param help  presses the box's help first
void drawSoon(const char* name, bool help = false) {
  constexpr int kUntilDrawn = 400;  // milliseconds
  onGui([=] {
    if (help) {
      QTimer::singleShot(kUntilDrawn, qApp, [] {
        for (QWidget* each : QApplication::topLevelWidgets()) {
          for (auto* button : each->findChildren<QPushButton*>()) {
            if (button->text().startsWith("&H")) button->click();
          }
        }
      });
    }
    QTimer::singleShot(help ? 2 * kUntilDrawn : kUntilDrawn, qApp, [name] {
      draw(name);
      closeAll();
    });
  });
}

void drawBox(platform::IUserInterface& desktop, const char* name, const MessageBoxRequest& box, bool help = false) {
  drawSoon(name, help);
  desktop.messageBox(box);
}

void drawAll(platform::IUserInterface& desktop, bool german) {
  MessageBoxRequest box;
  box.caption = L"Quorvel";
  box.text = german ? L"Das Projekt „Schule Nord“ wurde von Anna Berg geändert.\n\nSollen Ihre Änderungen trotzdem "
                      L"gespeichert werden?"
                    : L"The project “North School” was changed by Anna Berg.\n\nSave your changes all the same?";
  box.style = MB_YESNOCANCEL | MB_ICONQUESTION | workstation::kDefaultButton2;
  box.checkBox = german ? L"Nicht mehr fragen" : L"Don't ask again";
  drawBox(desktop, "question", box);
  box.checkBox.clear();
  box.style = MB_OK | MB_ICONINFORMATION;
  drawBox(desktop, "information", box);
  box.style = MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION;
  box.text += L"\nC:\\Projects\\" + std::wstring(120, L'x') + L".zpr";
  drawBox(desktop, "warning", box);

  box.caption = L"Download File";
  box.text = L"550 tb000012.tbz: No such file or directory";
  box.style = MB_RETRYCANCEL | MB_ICONHAND | MB_HELP;
  box.detailsCaption = L"FTP Library error details";
  box.details = L"MsgCaption:\r\nDownload File\r\n--MsgCaption\r\nMsgText:\r\n" + box.text + L"\r\n--MsgText\r\n";
  for (int i = 0; i < 30; ++i) box.details += L"> RETR tb000012.tbz\r\n< 550 No such file or directory\r\n";
  drawBox(desktop, "error", box);
  drawBox(desktop, "error-details", box, true);

  Quorvel::FileAccess::LoginData login{L"anna.berg", L"secret", 3, 1, 0};
  drawSoon("login");
  Quorvel::FileAccess::WGO_showLoginDialog(nullptr, german ? L"Büro" : L"Office", L"ftp.example.org", login);
  drawSoon("file-name");
  desktop.askFileName({nullptr, L"ZIP (*.zip)"});

  auto progress = desktop.createProgressWindow(L"", 500, 45);
  progress->setPosition(62);
  progress->setText(german ? L"Dateien werden gesendet: 124 von 200 Dateien, 31,0 von 50,1 MB"
                           : L"sending: 124 of 200 files, 31.0 of 50.1 MB, 12.4 MB/s, 2 s left");
  progress->show();
  onGui([] { QApplication::processEvents(); });
  onGui([] { draw("progress"); });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s DIRECTORY LANGUAGE STYLE\n", argv[0]);
    return 2;
  }
  directory = argv[1];
  suffix = QString("-%1-%2.png").arg(argv[2], argv[3]);
  qputenv("ZEPHOR_STYLE", argv[3]);
  workstation::setLanguage(argv[2]);
  std::string error;
  const std::unique_ptr<platform::IUserInterface> desktop(workstation::startDesktopInterface(error));
  if (!desktop) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  platform::setUserInterface(desktop.get());
  drawAll(*desktop, workstation::language() == "de");
  platform::setUserInterface(nullptr);
  return 0;
}

#include "workstation/desktop/window/MainWindow.h"

#include "workstation/desktop/Application.h"
#include "workstation/desktop/window/ProjectWindow.h"

namespace workstation {

int runDesktopWindow(const DesktopWindowOptions& options, std::string& error) {
  const std::unique_ptr<QApplication> application = makeApplication(error);
  if (application == nullptr) return -1;
  followLanguage();
  // A hidden window still waits for what it reads.
  QApplication::setQuitOnLastWindowClosed(false);
  ProjectWindow window(options);
  // Not quit(), which asks the window once more.
  QObject::connect(&window, &ProjectWindow::closed, application.get(), [] { QApplication::exit(0); });
  window.show();
  return QApplication::exec();
}

}  // namespace workstation

#include "workstation/desktop/Desktop.h"

#include "workstation/desktop/Application.h"
#include "workstation/desktop/DesktopInterface.h"
#include "workstation/desktop/window/MainWindow.h"

bool zephor_desktop_usable(std::string& error) {
  return workstation::isDisplayUsable(error);
}

platform::IUserInterface* zephor_desktop_interface(std::string& error) {
  return workstation::startDesktopInterface(error);
}

int zephor_desktop_window(const workstation::DesktopWindowOptions& options, std::string& error) {
  return workstation::runDesktopWindow(options, error);
}

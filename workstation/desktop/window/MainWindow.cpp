#include "workstation/desktop/window/MainWindow.h"

namespace workstation {

int runDesktopWindow(const DesktopWindowOptions& /*options*/, std::string& error) {
  error = "windows are not built";
  return -1;
}

}  // namespace workstation

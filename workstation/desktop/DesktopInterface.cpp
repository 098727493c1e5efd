#include "workstation/desktop/DesktopInterface.h"

namespace workstation {

platform::IUserInterface* startDesktopInterface(std::string& error) {
  error = "windows are not built";
  return nullptr;
}

}  // namespace workstation

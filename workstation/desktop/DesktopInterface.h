// Boxes, dialogs and progress as windows.
#pragma once

#include <string>

#include "platform/UserInterface.h"

namespace workstation {

/// Behind zephor_desktop_interface.
platform::IUserInterface* startDesktopInterface(std::string& error);

}  // namespace workstation

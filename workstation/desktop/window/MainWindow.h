// The window of `zephor desktop`.
#pragma once

#include <string>

#include "workstation/desktop/Desktop.h"

namespace workstation {

/// Behind zephor_desktop_window.
int runDesktopWindow(const DesktopWindowOptions& options, std::string& error);

}  // namespace workstation

// The module of windows, loaded when a command needs it.
#pragma once

#include <memory>
#include <string>

#include "platform/UserInterface.h"

namespace workstation {
struct DesktopWindowOptions;
}

namespace workstation::program {

/// True when the environment names a display.
bool isDisplayThere();
/// Whether desktopInterface() would give one. @return false with the reason in `error`
bool isDesktopUsable(std::string& error);
/// @return null when there is no module, no display, or it can't be used; `error` then says which and what to do
std::unique_ptr<platform::IUserInterface> desktopInterface(std::string& error);
/// Runs the window. @return as zephor_desktop_window, with -1 also where there is no module
int desktopWindow(const DesktopWindowOptions& options, std::string& error);

}  // namespace workstation::program

// The windows of the workstation, in a module of its own that the program loads when it needs them: neither the library
// nor the program is linked with the window toolkit, and both run where it is not installed.
//
// The module has three entries, of C linkage so that they are found by name:
//   zephor_desktop_usable     whether the other two would find a display
//   zephor_desktop_interface  boxes, dialogs and progress for a command that runs on the calling thread
//   zephor_desktop_window     the window of `zephor desktop`, until the person closes it
// A process uses one of the other two, once.
#pragma once

#include <string>
#include <vector>

#include "platform/UserInterface.h"

#define DESKTOP_API __attribute__((visibility("default")))

namespace workstation {

struct DesktopWindowOptions {
  std::string program;  ///< path of `zephor`, which does the window's work as a command of its own for each action
  /// What stands before each command: workstation, store, project, language as they were given. No password.
  std::vector<std::string> arguments;
};

}  // namespace workstation

extern "C" {

/// Looks, and starts nothing. @return false when the display can't be used; `error` then says why
DESKTOP_API bool zephor_desktop_usable(std::string& error);

/// Starts a thread of its own for the windows, on which every box is shown; the work stays on the calling threads. One
/// instance, which the caller deletes on the thread that made it, with no operation running; the thread is idle then.
/// @return null when the display can't be used; `error` then says why
DESKTOP_API platform::IUserInterface* zephor_desktop_interface(std::string& error);

/// Runs the window on the calling thread.
/// @return the exit code of the program; -1 when the display can't be used, with the reason in `error`
DESKTOP_API int zephor_desktop_window(const workstation::DesktopWindowOptions& options, std::string& error);
}

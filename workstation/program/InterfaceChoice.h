// Where a command's boxes, dialogs and progress are shown: on the terminal or in windows.
#pragma once

#include <memory>

#include "platform/UserInterface.h"

namespace workstation {
class TerminalInterface;
}

namespace workstation::program {

struct GlobalOptions;

/// True for a stream that nobody and nothing sits at: no terminal, pipe or file.
bool leadsNowhere(int stream);

/// @param terminal  takes what is answered by --yes and --no; outlives the result
/// @return null for the terminal. Throws CommandFailure where windows were demanded and can't be shown
std::unique_ptr<platform::IUserInterface> desktopIfWanted(const GlobalOptions& options, TerminalInterface& terminal);

}  // namespace workstation::program

// A dialog as questions on the terminal.
#pragma once

#include "platform/Dialog.h"

namespace workstation {

class Terminal;

/// Shows what the dialog says, and asks for each control that can take something, in their order; a line that is empty
/// keeps what is there. @return IDOK, or IDCANCEL at the end of the input
int askThrough(platform::Dialog& dialog, Terminal& terminal);

}  // namespace workstation

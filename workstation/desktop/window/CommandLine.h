// Which command of the program a button of the window is, for what is selected. Pure.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "workstation/desktop/window/StatusLines.h"

namespace workstation {

enum class Command : std::uint8_t { Lock, Unlock, Save, Fetch, Sync, SendAgain, BackgroundLog };

/// Whether it could do something. What is shown may be old, so that a command that is offered can be refused all the
/// same.
/// @param unsent  something of the project could not be sent
bool makesSense(Command command, const std::vector<const StatusRow*>& selected, bool unsent);

/// The command's words: all of the selection, so that the program tells of each how it ended.
std::vector<std::string> wordsOf(Command command, const std::vector<const StatusRow*>& selected);

/// What stands before each command that changes something: it works in the project that is shown, whichever was opened
/// elsewhere meanwhile.
std::vector<std::string> pinned(std::vector<std::string> arguments, const std::string& projectUuid);

}  // namespace workstation

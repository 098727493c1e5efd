// What the user is asked when files could not be moved: whether to try again.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"

namespace Quorvel::FileAccess {

/// Asks with the texts of the language files, see uploadQuestion. Whether dialogs are allowed is the caller's to ask.
/// @param failed  names of the files that did not go
/// @return true for Yes
bool userWantsRetry(CloudStatus status, const std::vector<std::wstring>& failed);

/// A text of the language files without parameters.
std::wstring transferText(int id, int count);
/// That files could not be transferred: the heading of the question, and a message by itself.
std::wstring transferFailedText();

}  // namespace Quorvel::FileAccess

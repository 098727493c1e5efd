// Texts of system, network and internet errors.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess::ConnectionLogger {

/// The text that getLastErrorString gives, as a value: for any thread.
std::wstring errorText(DWORD code);

/// What an internet server said last to this thread, without its line end; empty when there is nothing.
std::wstring lastInternetResponse();

}  // namespace Quorvel::FileAccess::ConnectionLogger

// How the operations of this room end when they fail.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// The answer of a toolkit failure that comes without a code.
constexpr DWORD kToolkitFailure = 0xFFFFFFFF;

/// Shows the error and answers its code.
///
/// @param operation  full name of the failing operation
/// @param text       what it failed with: a path, or the toolkit's own text
DWORD failWithBox(DWORD code, const wchar_t* operation, const std::wstring& text);
/// Logs and shows the toolkit's text.
DWORD failInToolkit(const wchar_t* operation, const wchar_t* errorText);

}  // namespace Quorvel::FileAccess

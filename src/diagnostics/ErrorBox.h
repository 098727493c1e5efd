// The error box of the transfers. At most one is up at a time; a storm of like failures asks once.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess::ConnectionLogger {

/// Shows an error and answers the button's IDxxx value.
///
/// The answer of the last box is given again without asking when that box had the same style, was answered with
/// Cancel, Abort or Ignore, and either this box is raised from within another of the same thread or fewer than 1000 ms
/// lie between that box's end and this call. A thread that had to wait behind a box called before its end, so it takes
/// that box's answer. Retry is never repeated: each failure after it asks anew.
///
/// @param details  what the box's help shows; empty: no help is offered
int ShowErrorBox(const std::wstring& text, const std::wstring& caption, UINT style, const std::wstring& details);

/// InternetExceptionResolve for callers that may have their dialogs off: what it has to tell is traced all the same.
int ResolveInternetException(bool mayAsk);

/// The text behind the help button: caption and message text between marks, then the details; empty without details.
std::wstring errorBoxDetails(const std::wstring& text, const std::wstring& caption, const std::wstring& details);

}  // namespace Quorvel::FileAccess::ConnectionLogger

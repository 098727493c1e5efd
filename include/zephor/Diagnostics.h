// What tells a person or a log what went wrong: trace lines, error texts, the connection log's box.
#pragma once

#include <string>

#include "platform/Text.h"
#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess::ConnectionLogger {

/// A ready trace line. Level 2 puts the text of the thread's last internet or system error before it. From any thread.
ZEPHOR_API void traceFmt(unsigned level, const std::wstring& text);

/// printf-like trace line; `%s` is wide.
template <typename... Arguments>
void traceFmt(unsigned level, const wchar_t* format, const Arguments&... arguments) {
  traceFmt(level, platform::formatWide(format, arguments...));
}

/// Text of a system, network or internet error, without its line end.
/// @return a buffer of the process that the next call overwrites: for one thread at a time
ZEPHOR_API const wchar_t* getLastErrorString(DWORD code);
/// Text that the next InternetExceptionResolve shows before the error's own. Null is ignored.
ZEPHOR_API void InternetExceptionSetMessageText(const wchar_t* text);
/// Asks whether to try again after the thread's last error, which it leaves as it is. @return 4 retry, 2 cancel
ZEPHOR_API int InternetExceptionResolve();
ZEPHOR_API void WGO_GetErrorString(DWORD code, std::wstring& out);
/// Shows an error and answers its code, so that a caller can write the call as its own return.
ZEPHOR_API DWORD returnSystemErrorWithMessageBox(DWORD code, const wchar_t* caption, const wchar_t* text);

}  // namespace Quorvel::FileAccess::ConnectionLogger

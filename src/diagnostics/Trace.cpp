#include "host/Trace.h"
#include "diagnostics/ErrorTexts.h"
#include "platform/Text.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr unsigned kInternetErrorLevel = 2;

int consoleLevel(unsigned level) {
  switch (level) {
    case 0:
    case kInternetErrorLevel:
      return 3;
    case 3:
      return 2;
    default:
      return static_cast<int>(level);
  }
}

}  // namespace

void traceFmt(unsigned level, const std::wstring& text) {
  // A trace line between a failure and its report must not cost the caller the error code.
  const DWORD error = GetLastError();
  std::wstring line = text;
  if (level == kInternetErrorLevel) {
    line = lastInternetResponse();
    if (line.empty()) line = errorText(error);
    line += platform::formatWide(L" %s", text);
  }
  const CConsoleTrace trace(line, consoleLevel(level));
  SetLastError(error);
}

}  // namespace Quorvel::FileAccess::ConnectionLogger

#include "archives/ArchiveFailure.h"

#include "host/Trace.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {

DWORD failWithBox(DWORD code, const wchar_t* operation, const std::wstring& text) {
  return ConnectionLogger::returnSystemErrorWithMessageBox(code, operation, text.c_str());
}

DWORD failInToolkit(const wchar_t* operation, const wchar_t* errorText) {
  lfperrC(L"%s: %s\n", operation, errorText);
  return failWithBox(kToolkitFailure, operation, errorText);
}

}  // namespace Quorvel::FileAccess

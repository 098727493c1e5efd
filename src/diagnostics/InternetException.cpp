#include <cerrno>
#include <mutex>
#include <string>
#include <utility>

#include "diagnostics/DiagnosticsState.h"
#include "diagnostics/ErrorBox.h"
#include "diagnostics/ErrorTexts.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/UserInterface.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr DWORD kInternetExtendedError = 12003;
constexpr DWORD kInternetInternalError = 12004;

/// Gives errno and the last error back to the caller as they were.
class KeptErrors {
 public:
  KeptErrors() : errno_(errno), lastError_(GetLastError()) {}
  ~KeptErrors() {
    SetLastError(lastError_);
    errno = errno_;
  }
  KeptErrors(const KeptErrors&) = delete;
  KeptErrors& operator=(const KeptErrors&) = delete;

  DWORD lastError() const { return lastError_; }

 private:
  int errno_;
  DWORD lastError_;
};

std::wstring takePendingText() {
  DiagnosticsState& state = diagnosticsState();
  const std::lock_guard lock(state.pendingLock);
  return std::exchange(state.pendingText, {});
}

}  // namespace

void InternetExceptionSetMessageText(const wchar_t* text) {
  if (text == nullptr) return;
  DiagnosticsState& state = diagnosticsState();
  const std::lock_guard lock(state.pendingLock);
  state.pendingText = text;
}

int InternetExceptionResolve() {
  return ResolveInternetException(true);
}

int ResolveInternetException(bool mayAsk) {
  const KeptErrors kept;
  const DWORD error = kept.lastError();
  const std::wstring text = errorText(error);
  const std::wstring pending = takePendingText();
  if (!pending.empty()) traceFmt(1, pending);
  traceFmt(1, text);

  if (!mayAsk || error == kInternetExtendedError || error == kInternetInternalError) return IDCANCEL;
  if (Msg2usr_IsDeny()) {
    if (getFileAccessTrace() != 0) lfperrC(L"%s: is deny\n", L"InternetExceptionResolve");
    return IDCANCEL;
  }
  const std::wstring message = pending.empty() ? text : pending + L"\n\n" + text;
  return MessageBoxW(GetActiveWindow(), message.c_str(), L"NetInetExtensions",
                     MB_RETRYCANCEL | MB_ICONEXCLAMATION | MB_SETFOREGROUND | MB_TOPMOST);
}

}  // namespace Quorvel::FileAccess::ConnectionLogger

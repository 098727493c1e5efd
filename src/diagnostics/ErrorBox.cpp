#include "diagnostics/ErrorBox.h"

#include <mutex>

#include "diagnostics/DiagnosticsState.h"
#include "host/UserMessages.h"
#include "platform/Synchronisation.h"
#include "platform/UserInterface.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess::ConnectionLogger {
namespace {

constexpr ULONGLONG kRepeatMilliseconds = 1000;

/// Holds the lock of the box, and tells whether the thread held it before: its box was raised from within a box.
class BoxVisit {
 public:
  explicit BoxVisit(BoxMemory& memory) : memory_(memory), isNested_(memory.owner == std::this_thread::get_id()) {
    memory_.lock.lock();
    memory_.owner = std::this_thread::get_id();
    ++memory_.depth;
  }
  ~BoxVisit() {
    if (--memory_.depth == 0) memory_.owner = std::thread::id();
    memory_.lock.unlock();
  }
  BoxVisit(const BoxVisit&) = delete;
  BoxVisit& operator=(const BoxVisit&) = delete;

  bool isNested() const { return isNested_; }

 private:
  BoxMemory& memory_;
  bool isNested_;
};

bool isRepeatable(int answer) {
  return answer == IDCANCEL || answer == IDABORT || answer == IDIGNORE;
}

/// @param arrival  taken before the lock: of a thread that waited behind a box it lies before that box's end
bool endedJustBefore(ULONGLONG arrival, ULONGLONG end) {
  return arrival < end || arrival - end < kRepeatMilliseconds;
}

constexpr const wchar_t* kDetailsCaption = L"FTP Library error details";

}  // namespace

std::wstring errorBoxDetails(const std::wstring& text, const std::wstring& caption, const std::wstring& details) {
  std::wstring result;
  if (details.empty()) return result;
  if (!caption.empty()) result += L"MsgCaption:\r\n" + caption + L"\r\n" + L"--MsgCaption\r\n";
  if (!text.empty()) result += L"MsgText:\r\n" + text + L"\r\n" + L"--MsgText\r\n";
  return result + details;
}

int ShowErrorBox(const std::wstring& text, const std::wstring& caption, UINT style, const std::wstring& details) {
  DiagnosticsState& state = diagnosticsState();
  BoxMemory& memory = state.box;
  const ULONGLONG arrival = state.tickCount();
  const BoxVisit visit(memory);
  if (isRepeatable(memory.answer) && memory.style == style &&
      (visit.isNested() || endedJustBefore(arrival, memory.endTick))) {
    return memory.answer;
  }

  platform::MessageBoxRequest request;
  request.owner = Msg2usr_GetThreadForegroundWindow(GetCurrentThreadId());
  request.text = text;
  request.caption = caption;
  request.style = style;
  if (!details.empty()) {
    request.style |= MB_HELP;
    request.details = errorBoxDetails(text, caption, details);
    request.detailsCaption = kDetailsCaption;
  }
  const int answer = platform::userInterface().messageBox(request);

  memory.answer = answer;
  memory.endTick = state.tickCount();
  memory.style = style;
  return answer;
}

DWORD returnSystemErrorWithMessageBox(DWORD code, const wchar_t* caption, const wchar_t* text) {
  constexpr DWORD kNoErrorText = 0xFFFFFFFF;
  std::wstring message;
  if (code < kNoErrorText) WGO_GetErrorString(code, message);
  if (text != nullptr) message = platform::formatWide(L"%s:\n\n%s", text, message);
  MessageBoxW(GetActiveWindow(), message.c_str(), caption, MB_ICONHAND | MB_TASKMODAL | MB_SETFOREGROUND);
  return code;
}

}  // namespace Quorvel::FileAccess::ConnectionLogger

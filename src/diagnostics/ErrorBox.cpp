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

/// Notes that the thread asks for the box, and whether one was up already when it came.
class BoxVisit {
 public:
  explicit BoxVisit(BoxMemory& memory) : memory_(memory), wasUp_(memory.inside.fetch_add(1) > 0) {
    memory_.lock.lock();
  }
  ~BoxVisit() {
    memory_.lock.unlock();
    memory_.inside.fetch_sub(1);
  }
  BoxVisit(const BoxVisit&) = delete;
  BoxVisit& operator=(const BoxVisit&) = delete;

  bool wasUp() const { return wasUp_; }

 private:
  BoxMemory& memory_;
  bool wasUp_;
};

bool isRepeatable(int answer) {
  return answer == IDCANCEL || answer == IDABORT || answer == IDIGNORE;
}

/// @param arrival  taken before the lock, so it may lie before the end of the box that was waited for
bool endedJustBefore(ULONGLONG arrival, ULONGLONG end) {
  return arrival < end || arrival - end < kRepeatMilliseconds;
}

void appendMarked(std::wstring& out, const wchar_t* mark, const std::wstring& text) {
  if (text.empty()) return;
  out.append(mark).append(L":\r\n").append(text).append(L"\r\n--").append(mark).append(L"\r\n");
}

}  // namespace

std::wstring errorBoxDetails(const std::wstring& text, const std::wstring& caption, const std::wstring& details) {
  std::wstring result;
  if (details.empty()) return result;
  appendMarked(result, L"MsgCaption", caption);
  appendMarked(result, L"MsgText", text);
  return result + details;
}

int ShowErrorBox(const std::wstring& text, const std::wstring& caption, UINT style, const std::wstring& details) {
  DiagnosticsState& state = diagnosticsState();
  BoxMemory& memory = state.box;
  const ULONGLONG arrival = state.tickCount();
  const BoxVisit visit(memory);
  if (isRepeatable(memory.answer) && memory.style == style &&
      (visit.wasUp() || endedJustBefore(arrival, memory.endTick))) {
    return memory.answer;
  }

  platform::MessageBoxRequest request;
  request.owner = Msg2usr_GetThreadForegroundWindow(GetCurrentThreadId());
  request.text = text;
  request.caption = caption;
  request.style = details.empty() ? style : style | MB_HELP;
  request.details = errorBoxDetails(text, caption, details);
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

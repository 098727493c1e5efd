// What the host offers towards its user: language texts, display information, rules for boxes.
#pragma once

#include <string>
#include <vector>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

/// A text of the language files, by number.
class HOST_API CQuoString {
 public:
  /// Loads text `id`; the parameters, each ended by character 30, take the place of `%1`, `%2` ... A text that is
  /// missing gives
  /// "#id".
  /// @param parameters  null when there are none
  /// @param count       how many parameters the text has
  /// @param limit       characters at most
  CQuoString& GetQuorvotParText(int id, const wchar_t* parameters, int count, int limit);
  const std::wstring& text() const { return text_; }
  const wchar_t* c_str() const { return text_.c_str(); }

 private:
  std::wstring text_;
};

/// True when the host forbids any dialog (batch runs).
HOST_API bool Msg2usr_IsDeny();
HOST_API HWND Msg2usr_GetWnd();
HOST_API HWND Msg2usr_GetThreadForegroundWindow(DWORD threadId);
/// A message of the library's own numbers with its parameters in one text, separated by the characters 30 and 31.
HOST_API void sendGuiMessage(int id, const std::wstring& parameters);
HOST_API void TBsLocked_MessageBox(const std::vector<int>& numbers);
/// Allows (1) or takes back (0) the window that shows what is going on.
HOST_API void setDisplayInfoWindowAllowed(int allowed);
/// Shows a text while the scope lives, when the window is allowed.
class HOST_API CScopedDisplayInfo {
 public:
  explicit CScopedDisplayInfo(const std::wstring& text);
  ~CScopedDisplayInfo();
  CScopedDisplayInfo(const CScopedDisplayInfo&) = delete;
  CScopedDisplayInfo& operator=(const CScopedDisplayInfo&) = delete;
};

// The one seam between the system and a person: boxes, dialogs, progress windows, cursor, opener.
//
// Exactly one implementation is in place at a time. Terminal, desktop and the scripted one of the tests are built
// above; until a host sets one, the silent one stands, which shows nothing and gives every question its denying answer.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/WindowsTypes.h"

#ifndef _WIN32
/// Shows a box through the user interface in place.
PLATFORM_API int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT style);
/// Null: windows belong to the implementation of the user interface.
PLATFORM_API HWND GetActiveWindow();
#endif

namespace platform {

/// Beside the IDxxx value of an answer: the box's check box was ticked.
constexpr int kBoxChecked = 0x1000000;

/// One message box. `style` holds the MB_ values; with `details` the box offers help that shows them.
struct MessageBoxRequest {
  HWND owner = nullptr;
  std::wstring text;
  std::wstring caption;
  UINT style = 0;
  std::wstring details;
  std::wstring detailsCaption;  ///< title of the window that shows the details; empty leaves it to the implementation
  std::wstring checkBox{};      ///< label of a check box, which only a person ticks; empty for none
};

/// The question for the name of a file that is going to be written.
struct FileNameRequest {
  HWND owner = nullptr;
  std::wstring filter;  ///< kinds of files, as "ZIP (*.zip)"
};

class Dialog;

/// A progress window that its creator drives and that is hidden until `show`.
class PLATFORM_API IProgressWindow {
 public:
  virtual ~IProgressWindow() = default;
  virtual void show() = 0;
  virtual void setRange(std::uint32_t top) = 0;
  virtual std::uint32_t range() const = 0;
  virtual void setPosition(std::uint32_t position) = 0;
  virtual void setText(const std::wstring& text) = 0;
  /// Lets the window handle what waits for it.
  virtual void pump() = 0;
};

/// Every operation may be called from any thread and answers on it; an implementation with a thread of its own hands
/// over.
class PLATFORM_API IUserInterface {
 public:
  virtual ~IUserInterface() = default;

  /// @return the IDxxx value of the button, never one that the style does not offer; kBoxChecked with it when the check
  /// box was ticked
  virtual int messageBox(const MessageBoxRequest& request) = 0;
  /// @return a library path; empty when the person gave none. Nothing is asked about a file that is there: the caller
  /// does
  virtual std::wstring askFileName(const FileNameRequest& /*request*/) { return {}; }
  /// Shows a dialog and lets the person work on its controls, through its own operations.
  /// @return the number of the button that ended it; IDCANCEL, with nothing shown, when no person can be asked
  virtual int showDialog(Dialog& dialog);
  /// A floating progress window of that size in pixels at the lower right corner of the work area.
  /// @return null when there is no display for it; work goes on without
  virtual std::unique_ptr<IProgressWindow> createProgressWindow(const std::wstring& title, int width, int height) = 0;
  /// Horizontal pixels per inch; 0 when not known.
  virtual int pixelDensity() const = 0;
  /// Shows or ends the busy cursor; nested calls are the caller's business.
  virtual void setBusyCursor(bool busy) = 0;
  /// Opens a document or link. @return an error code of ShellExecuteW, above 32 on success
  virtual int open(const std::wstring& target) = 0;
};

/// The implementation in place; never null.
PLATFORM_API IUserInterface& userInterface();
/// Puts another in place and answers the one before. Null brings the silent one back. A start-up operation: no other
/// thread may be inside an operation of the one that goes.
PLATFORM_API IUserInterface* setUserInterface(IUserInterface* userInterface);

/// The answer that denies for a style: the first that it offers of No, Cancel, Abort, OK.
PLATFORM_API int denyingAnswer(UINT style);

/// Starts the desktop's opener for a link (anything with a scheme) or an existing document (a library path), detached,
/// without a shell. Any thread. Serves every implementation of IUserInterface::open that has a desktop beside it.
/// @return above 32 on success; 2 when the document does not exist, 31 when no opener is installed, otherwise why it
/// did
///         not start
PLATFORM_API int openWithDesktop(const std::wstring& target);

}  // namespace platform

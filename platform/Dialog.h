// A modal dialog as what it says and takes: controls by number, and rules that follow what is done to them.
//
// The dialog's maker gives the controls and rules, an implementation of the user interface shows them. It does to the
// controls what the person does, through type() and click(), so that the same rules hold on every display. Belongs to
// the thread that shows it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"

namespace platform {

struct DialogControl {
  enum class Kind : std::uint8_t {
    Label,     ///< of the control that follows it
    Text,      ///< shown; nothing when it is empty
    Edit,      ///< one line
    Password,  ///< one line that shows nothing of what it holds
    CheckBox,
    Button,  ///< ends the dialog
  };

  int id = 0;
  Kind kind = Kind::Text;
  std::wstring text{};
  std::size_t limit = 0;  ///< characters at most of what is typed
  bool isChecked = false;
  bool isEnabled = true;
};

class PLATFORM_API Dialog {
 public:
  virtual ~Dialog();

  HWND owner = nullptr;
  std::wstring title;
  std::vector<DialogControl> controls;  ///< in the order in which they are shown and reached
  int focus = 0;                        ///< the control that has it first

  /// The control of that number, which is one of the dialog's.
  DialogControl& control(int id);
  /// Replaces what an edit holds, cut to its limit. @return false for a control that takes no text now
  bool type(int id, const std::wstring& text);
  /// Turns a check box over. @return false for a control that can't be turned over now
  bool click(int id);

 protected:
  Dialog() = default;
  Dialog(const Dialog&) = default;
  Dialog& operator=(const Dialog&) = default;
  /// After a check box was turned over.
  virtual void clicked(int /*id*/) {}

 private:
  DialogControl* find(int id);
};

}  // namespace platform

// The buttons that a message box offers by its style. Pure.
#pragma once

#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// Parts of a style: which button has the focus first, and that the box stays above every other window.
constexpr UINT kDefaultButton2 = 0x100;
constexpr UINT kDefaultButton3 = 0x200;
constexpr UINT kDefaultButton4 = 0x300;
constexpr UINT kDefaultButtonMask = 0xF00;
constexpr UINT kSystemModal = 0x1000;

struct BoxButton {
  int answer = 0;      ///< an IDxxx value
  std::wstring label;  ///< in the language in use, with its letter in brackets: "[Y]es"
};

/// In the order in which they are shown, at least one. An unknown style offers its denying answer.
WORKSTATION_API std::vector<BoxButton> boxButtons(UINT style);

WORKSTATION_API bool offersAnswer(UINT style, int answer);

/// The answer that agrees: Yes, Retry or OK, whichever the style offers.
int agreeingAnswer(UINT style);

/// The label without brackets.
WORKSTATION_API std::wstring plainLabel(const std::wstring& label);

/// True when a typed answer means this button: its letter or its whole word, in any case, with blanks around it.
bool meansButton(const std::wstring& typed, const std::wstring& label);

}  // namespace workstation

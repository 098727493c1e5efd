// Texts of the system as the toolkit takes them: none of their characters means anything to it.
#pragma once

#include <QString>
#include <string>

namespace workstation {

/// As it stands, with plain line ends. For texts that are shown as plain text.
QString shownText(const std::wstring& text);
/// For the title of a window.
QString titleText(const std::wstring& text);
/// For buttons, check boxes and labels with a control: an ampersand is one.
QString labelText(const std::wstring& text);
/// For a button whose label has its letter in brackets: "[Y]es".
QString buttonText(const std::wstring& label);

}  // namespace workstation

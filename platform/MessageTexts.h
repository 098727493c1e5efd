// The tables of error texts, each sorted by code. For the message functions of this room only.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/WindowsTypes.h"

namespace platform {

/// Text of one code, without the line end.
struct MessageText {
  DWORD code;
  std::wstring_view text;
};

/// What the search in a table relies on: each code once, in ascending order.
constexpr bool isAscending(std::span<const MessageText> texts) {
  return std::adjacent_find(texts.begin(), texts.end(),
                            [](const MessageText& a, const MessageText& b) { return a.code >= b.code; }) == texts.end();
}

std::span<const MessageText> systemMessageTexts();
std::span<const MessageText> networkMessageTexts();
std::span<const MessageText> internetMessageTexts();

/// @return the text, or an empty one
std::wstring_view findMessageText(std::span<const MessageText> texts, DWORD code);

/// The texts of a loaded module; empty for a library without any.
/// @return false when the module is not loaded
bool messageTextsOf(HMODULE module, std::span<const MessageText>& texts);

}  // namespace platform

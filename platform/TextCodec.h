// Single characters of UTF-8, UTF-16 and the code pages, for the conversions and the text files of this room only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/WindowsTypes.h"

namespace platform {

constexpr wchar_t kReplacementCharacter = 0xFFFD;

constexpr bool isSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}
constexpr bool isCharacter(char32_t c) {
  return c <= 0x10FFFF && !isSurrogate(c);
}

/// One character read from encoded text.
struct DecodedCharacter {
  wchar_t character;
  std::size_t length;  ///< units taken; 0 when the text ends inside a sequence that is well-formed so far
  bool wellFormed;
};

/// Reads the character at the start of a text that is not empty. An ill-formed part gives U+FFFD and its maximal
/// length.
DecodedCharacter decodeUtf8(std::string_view text);
/// Likewise; a lone surrogate gives U+FFFD.
DecodedCharacter decodeUtf16(std::u16string_view text);

void appendUtf8(std::string& out, wchar_t c);
void appendUtf16(std::u16string& out, wchar_t c);

/// A page of one byte to a character: 1252, or 28591 for everything else.
wchar_t decodeSingleByte(UINT codePage, unsigned char byte);
/// @return the byte, or -1 when the page has no such character
int encodeSingleByte(UINT codePage, wchar_t c);

/// CP_ACP becomes the active code page.
/// @return 0 for a page that is not known
UINT resolveCodePage(UINT codePage);

}  // namespace platform

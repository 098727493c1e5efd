// Text: wide strings and their encodings in files, letter case, formatted wide text, code pages.
//
// `wchar_t` is 32 bits wide here and 16 bits on Windows; text in files is converted here and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/WindowsTypes.h"

#ifndef _WIN32
constexpr UINT CP_ACP = 0;
constexpr UINT CP_UTF8 = 65001;
constexpr DWORD MB_ERR_INVALID_CHARS = 0x8;
constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;

/// Converts to a code page (CP_ACP, CP_UTF8, 1252, 28591). Characters outside the page become `defaultChar`, by default
/// `?`. With WC_ERR_INVALID_CHARS (UTF-8 only) a code point that is no character answers ERROR_NO_UNICODE_TRANSLATION
/// instead.
/// @param length  in characters, -1 for a zero-terminated text, whose terminator is then converted too
/// @param size    of `out` in bytes; 0 asks for the size needed. What does not fit is cut behind a whole character and
///                answers ERROR_INSUFFICIENT_BUFFER
/// @return bytes written or needed; 0 on failure
PLATFORM_API int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* text, int length, char* out, int size,
                                     const char* defaultChar, BOOL* usedDefaultChar);
PLATFORM_API int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, wchar_t* out, int size);

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the runtime has given them.
/// Compare without regard to letter case, over simple one-to-one case pairs of all of Unicode, whatever the locale.
PLATFORM_API int _wcsicmp(const wchar_t* a, const wchar_t* b);
PLATFORM_API int _wcsnicmp(const wchar_t* a, const wchar_t* b, std::size_t count);
/// Integer at the start of a text, as the runtime reads it: blanks, sign, digits; 0 without digits, saturating.
PLATFORM_API int _wtoi(const wchar_t* text);
// NOLINTEND(bugprone-reserved-identifier)
#endif

namespace platform {

/// Strict UTF-8; ill-formed input gives U+FFFD for each maximal ill-formed part (Unicode 15, section 3.9).
PLATFORM_API std::wstring fromUtf8(std::string_view text);
/// Code points that are no characters (surrogates, above 10FFFF) become U+FFFD.
PLATFORM_API std::string toUtf8(std::wstring_view text);
PLATFORM_API std::u16string toUtf16(std::wstring_view text);
/// A lone surrogate becomes U+FFFD.
PLATFORM_API std::wstring fromUtf16(std::u16string_view text);
PLATFORM_API bool isValidUtf8(std::string_view text);

PLATFORM_API std::wstring toLower(std::wstring_view text);
/// The characters of toLower, into a buffer of at least the text's length and other than the text; no terminator.
PLATFORM_API void lowerInto(std::wstring_view text, wchar_t* out);
PLATFORM_API std::wstring toUpper(std::wstring_view text);
PLATFORM_API bool equalsIgnoreCase(std::wstring_view a, std::wstring_view b);
PLATFORM_API bool startsWithIgnoreCase(std::wstring_view text, std::wstring_view prefix);
PLATFORM_API bool endsWithIgnoreCase(std::wstring_view text, std::wstring_view suffix);
/// Position of the first occurrence without regard to case, or npos.
PLATFORM_API std::size_t findIgnoreCase(std::wstring_view text, std::wstring_view part);

/// The active code page of CP_ACP: 1252 unless configured at start-up; only 1252, 28591 and 65001 are accepted.
PLATFORM_API void setActiveCodePage(UINT codePage);
PLATFORM_API UINT activeCodePage();

/// One argument of a wide format, by value or as a view that lives until the call ends.
class FormatArgument {
 public:
  enum class Kind : std::uint8_t { Signed, Unsigned, Floating, Text, Character, Pointer };
  FormatArgument(int v) : kind_(Kind::Signed), signed_(v) {}                                    // NOLINT(*-explicit-*)
  FormatArgument(long v) : kind_(Kind::Signed), signed_(v) {}                                   // NOLINT(*-explicit-*)
  FormatArgument(long long v) : kind_(Kind::Signed), signed_(v) {}                              // NOLINT(*-explicit-*)
  FormatArgument(unsigned v) : kind_(Kind::Unsigned), unsigned_(v) {}                           // NOLINT(*-explicit-*)
  FormatArgument(unsigned long v) : kind_(Kind::Unsigned), unsigned_(v) {}                      // NOLINT(*-explicit-*)
  FormatArgument(unsigned long long v) : kind_(Kind::Unsigned), unsigned_(v) {}                 // NOLINT(*-explicit-*)
  FormatArgument(double v) : kind_(Kind::Floating), floating_(v) {}                             // NOLINT(*-explicit-*)
  FormatArgument(wchar_t v) : kind_(Kind::Character), character_(v) {}                          // NOLINT(*-explicit-*)
  FormatArgument(const wchar_t* v) : kind_(Kind::Text), text_(v != nullptr ? v : L"(null)") {}  // NOLINT(*-explicit-*)
  FormatArgument(const std::wstring& v) : kind_(Kind::Text), text_(v) {}                        // NOLINT(*-explicit-*)
  FormatArgument(std::wstring_view v) : kind_(Kind::Text), text_(v) {}                          // NOLINT(*-explicit-*)
  FormatArgument(const void* v) : kind_(Kind::Pointer), pointer_(v) {}                          // NOLINT(*-explicit-*)
  FormatArgument(const char*) = delete;
  FormatArgument(const std::string&) = delete;
  FormatArgument(bool) = delete;

  Kind kind() const { return kind_; }
  long long asSigned() const { return signed_; }
  unsigned long long asUnsigned() const { return unsigned_; }
  double asFloating() const { return floating_; }
  wchar_t asCharacter() const { return character_; }
  std::wstring_view asText() const { return text_; }
  const void* asPointer() const { return pointer_; }

 private:
  Kind kind_;
  union {
    long long signed_;
    unsigned long long unsigned_;
    double floating_;
    wchar_t character_;
    const void* pointer_;
    std::wstring_view text_;
  };
};

/// printf-like wide text in which `%s` is a wide string and `%c` a wide character.
///
/// A negative signed number under `%x` and `%u` shows its 32-bit two's complement when it fits in 32 bits, otherwise 64
/// bits. An unsigned number below 2^32 under `%d` is read as 32 bits, so that a status shows as the negative number it
/// is; `ll` and `I64` keep it as it is. The other length modifiers are accepted and do not matter. `%p` takes a pointer
/// or a number. Arguments in excess are ignored. Too few arguments, one of the wrong kind, or an unknown conversion
/// give the text
/// "<bad format: ...>" with the format in it, so that a broken trace line never ends the work that it tells of. Never
/// throws for a format.
PLATFORM_API std::wstring formatWideArguments(const wchar_t* format, const FormatArgument* arguments,
                                              std::size_t count);

template <typename... Arguments>
std::wstring formatWide(const wchar_t* format, const Arguments&... arguments) {
  if constexpr (sizeof...(Arguments) == 0) {
    return formatWideArguments(format, nullptr, 0);
  } else {
    const FormatArgument list[] = {FormatArgument(arguments)...};
    return formatWideArguments(format, list, sizeof...(Arguments));
  }
}

/// Text with the marks `\n` line feed, behaving as the runtime's wide text files do.
enum class TextEncoding : std::uint8_t {
  Plain,    ///< mode "w", "r": the active code page, no mark
  Utf8,     ///< "ccs=UTF-8": mark EF BB BF; a reader takes a UTF-16LE mark too
  Utf16LE,  ///< "ccs=UTF-16LE": mark FF FE
};

/// A text file opened by the runtime's mode text ("r", "w", "a", with "b" or with ", ccs=UTF-8", ", ccs=UTF-16LE").
///
/// Line ends are written as line feeds; a reader accepts CR LF and gives LF, except with "b". The end-of-file character
/// 26 is a character like others. With "ccs=" the mark of the file decides between the two encodings for readers and
/// for those that append, who write a mark into an empty file only. What is no text of the encoding reads as U+FFFD. A
/// directory and, for writers, a read-only file do not open (EACCES). Closed by the destructor. One object belongs to
/// one thread at a time.
class PLATFORM_API TextFile {
 public:
  TextFile(const std::wstring& path, const wchar_t* mode);
  ~TextFile();
  TextFile(TextFile&&) noexcept;
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;
  TextFile& operator=(TextFile&&) = delete;

  /// False when the file did not open; errno and the last error tell why.
  bool isOpen() const;
  /// @return false when the text could not be written whole
  bool write(std::wstring_view text);
  /// As the runtime's fgetws with a buffer of `bufferSize` characters: at most `bufferSize` - 1 characters, up to and
  /// with the line feed. A longer line comes in pieces.
  /// @return false at the end of the file
  bool readLine(std::wstring& line, std::size_t bufferSize);
  /// Flushes and closes. @return false when something written before did not reach the file
  bool close();

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace platform

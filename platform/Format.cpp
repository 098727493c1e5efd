#include <fmt/printf.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>
#include <string>

#include "platform/Text.h"

namespace platform {
namespace {

/// One conversion of a format: `%-08.3lx`.
struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  int width = 0;
  int precision = -1;
  bool wide64 = false;  ///< `ll` or `I64`
  wchar_t type = 0;
};

// No line of ours is wider; a larger number is a broken format and not worth its memory.
constexpr int kGreatestWidth = 10000;

bool isOneOf(wchar_t c, std::wstring_view set) {
  return set.find(c) != std::wstring_view::npos;
}

class Formatter {
 public:
  Formatter(std::wstring_view format, const FormatArgument* arguments, std::size_t count)
      : rest_(format), arguments_(arguments), count_(count) {}

  /// @return no text for a broken format or arguments that do not fit it
  std::optional<std::wstring> run() {
    while (!rest_.empty()) {
      const std::size_t plain = std::min(rest_.find(L'%'), rest_.size());
      out_ += rest_.substr(0, plain);
      rest_.remove_prefix(plain);
      if (!rest_.empty() && !convert()) return std::nullopt;
    }
    return std::move(out_);
  }

 private:
  /// The next character of the format, 0 at its end.
  wchar_t peek() const { return rest_.empty() ? L'\0' : rest_.front(); }

  bool skip(std::wstring_view text) {
    if (rest_.substr(0, text.size()) != text) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  const FormatArgument* nextArgument() { return next_ < count_ ? &arguments_[next_++] : nullptr; }

  bool convert() {
    rest_.remove_prefix(1);
    if (skip(L"%")) {
      out_ += L'%';
      return true;
    }
    Conversion conversion;
    readFlags(conversion);
    if (!readWidth(conversion) || !readPrecision(conversion)) return false;
    readLength(conversion);
    conversion.type = peek();
    if (rest_.empty()) return false;
    rest_.remove_prefix(1);
    const FormatArgument* const argument = nextArgument();
    return argument != nullptr && append(conversion, *argument);
  }

  void readFlags(Conversion& conversion) {
    for (;; rest_.remove_prefix(1)) {
      switch (peek()) {
        case L'-':
          conversion.left = true;
          break;
        case L'+':
          conversion.plus = true;
          break;
        case L' ':
          conversion.blank = true;
          break;
        case L'#':
          conversion.alternate = true;
          break;
        case L'0':
          conversion.zero = true;
          break;
        default:
          return;
      }
    }
  }

  /// A number, or `*` for the next argument.
  std::optional<int> readNumber() {
    if (skip(L"*")) {
      const FormatArgument* const argument = nextArgument();
      if (argument == nullptr || argument->kind() != FormatArgument::Kind::Signed) return std::nullopt;
      const long long value = argument->asSigned();
      if (value < -kGreatestWidth || value > kGreatestWidth) return std::nullopt;
      return static_cast<int>(value);
    }
    int value = 0;
    for (; peek() >= L'0' && peek() <= L'9'; rest_.remove_prefix(1)) {
      value = value * 10 + (peek() - L'0');
      if (value > kGreatestWidth) return std::nullopt;
    }
    return value;
  }

  bool readWidth(Conversion& conversion) {
    const std::optional<int> number = readNumber();
    if (!number) return false;
    conversion.left = conversion.left || *number < 0;
    conversion.width = std::abs(*number);
    return true;
  }

  bool readPrecision(Conversion& conversion) {
    if (!skip(L".")) return true;
    const std::optional<int> number = readNumber();
    if (!number) return false;
    conversion.precision = std::max(*number, -1);
    return true;
  }

  void readLength(Conversion& conversion) {
    conversion.wide64 = skip(L"ll") || skip(L"I64");
    if (conversion.wide64 || skip(L"I32") || skip(L"hh")) return;
    if (isOneOf(peek(), L"hlLwjztI")) rest_.remove_prefix(1);
  }

  bool append(const Conversion& conversion, const FormatArgument& argument) {
    using Kind = FormatArgument::Kind;
    const Kind kind = argument.kind();
    const bool integral = kind == Kind::Signed || kind == Kind::Unsigned || kind == Kind::Character;
    if (isOneOf(conversion.type, L"sS")) return kind == Kind::Text && appendText(conversion, argument.asText());
    if (isOneOf(conversion.type, L"cC")) return integral && appendCharacter(conversion, argument);
    if (isOneOf(conversion.type, L"di")) return integral && appendSigned(conversion, signedValue(conversion, argument));
    if (isOneOf(conversion.type, L"uxXo")) return integral && appendUnsigned(conversion, unsignedValue(argument));
    if (isOneOf(conversion.type, L"fFeEgGaA")) return kind == Kind::Floating && appendFloating(conversion, argument);
    if (conversion.type == L'p') return (integral || kind == Kind::Pointer) && appendPointer(conversion, argument);
    return false;
  }

  // A DWORD under %d is read as the 32 bits that it is, so that a status shows the number that tables of errors list.
  static long long signedValue(const Conversion& conversion, const FormatArgument& argument) {
    if (argument.kind() == FormatArgument::Kind::Signed) return argument.asSigned();
    if (argument.kind() == FormatArgument::Kind::Character) return argument.asCharacter();
    const unsigned long long value = argument.asUnsigned();
    const bool is32Bit = !conversion.wide64 && value <= std::numeric_limits<std::uint32_t>::max();
    return is32Bit ? static_cast<std::int32_t>(value) : static_cast<long long>(value);
  }

  static unsigned long long unsignedValue(const FormatArgument& argument) {
    switch (argument.kind()) {
      case FormatArgument::Kind::Signed: {
        const long long value = argument.asSigned();
        const bool is32Bit = value < 0 && value >= std::numeric_limits<std::int32_t>::min();
        return is32Bit ? static_cast<std::uint32_t>(value) : static_cast<unsigned long long>(value);
      }
      case FormatArgument::Kind::Character:
        return static_cast<std::uint32_t>(argument.asCharacter());
      case FormatArgument::Kind::Pointer:
        return reinterpret_cast<std::uintptr_t>(argument.asPointer());
      default:
        return argument.asUnsigned();
    }
  }

  bool appendText(const Conversion& conversion, std::wstring_view text) {
    if (conversion.precision >= 0) text = text.substr(0, static_cast<std::size_t>(conversion.precision));
    pad(conversion, text);
    return true;
  }

  bool appendCharacter(const Conversion& conversion, const FormatArgument& argument) {
    const wchar_t c = argument.kind() == FormatArgument::Kind::Character
                          ? argument.asCharacter()
                          : static_cast<wchar_t>(unsignedValue(argument));
    pad(conversion, std::wstring_view(&c, 1));
    return true;
  }

  bool appendSigned(const Conversion& conversion, long long value) {
    const auto magnitude =
        value < 0 ? 0 - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    std::wstring sign;
    if (value < 0) {
      sign = L"-";
    } else if (conversion.plus) {
      sign = L"+";
    } else if (conversion.blank) {
      sign = L" ";
    }
    padDigits(conversion, sign, digits(magnitude, 10, false));
    return true;
  }

  bool appendUnsigned(const Conversion& conversion, unsigned long long value) {
    std::wstring prefix;
    if (conversion.alternate && value != 0) {
      if (conversion.type == L'x') prefix = L"0x";
      if (conversion.type == L'X') prefix = L"0X";
      if (conversion.type == L'o') prefix = L"0";
    }
    unsigned base = 16;
    if (conversion.type == L'u') base = 10;
    if (conversion.type == L'o') base = 8;
    padDigits(conversion, prefix, digits(value, base, conversion.type == L'X'));
    return true;
  }

  bool appendPointer(const Conversion& conversion, const FormatArgument& argument) {
    constexpr std::size_t kDigits = sizeof(void*) * 2;
    const std::wstring text = digits(unsignedValue(argument), 16, true);
    pad(conversion, std::wstring(kDigits - std::min(kDigits, text.size()), L'0') + text);
    return true;
  }

  bool appendFloating(const Conversion& conversion, const FormatArgument& argument) {
    std::string pattern = "%";
    if (conversion.left) pattern += '-';
    if (conversion.plus) pattern += '+';
    if (conversion.blank) pattern += ' ';
    if (conversion.alternate) pattern += '#';
    if (conversion.zero) pattern += '0';
    if (conversion.width > 0) pattern += std::to_string(conversion.width);
    if (conversion.precision >= 0) pattern += '.' + std::to_string(conversion.precision);
    pattern += static_cast<char>(conversion.type);
    out_ += fromUtf8(fmt::sprintf(pattern, argument.asFloating()));
    return true;
  }

  static std::wstring digits(unsigned long long value, unsigned base, bool capital) {
    const wchar_t* const alphabet = capital ? L"0123456789ABCDEF" : L"0123456789abcdef";
    std::wstring text;
    for (; value != 0; value /= base) text.insert(text.begin(), alphabet[value % base]);
    return text;
  }

  /// As the runtime does: a precision sets the least number of digits and ends the meaning of the flag `0`.
  void padDigits(const Conversion& conversion, const std::wstring& prefix, std::wstring text) {
    std::size_t least = conversion.precision >= 0 ? static_cast<std::size_t>(conversion.precision) : 1;
    const auto width = static_cast<std::size_t>(conversion.width);
    if (conversion.zero && !conversion.left && conversion.precision < 0 && width > prefix.size()) {
      least = std::max(least, width - prefix.size());
    }
    if (text.size() < least) text.insert(0, least - text.size(), L'0');
    pad(conversion, prefix + text);
  }

  void pad(const Conversion& conversion, std::wstring_view text) {
    const auto width = static_cast<std::size_t>(conversion.width);
    const std::size_t missing = width > text.size() ? width - text.size() : 0;
    if (!conversion.left) out_.append(missing, L' ');
    out_ += text;
    if (conversion.left) out_.append(missing, L' ');
  }

  std::wstring_view rest_;
  const FormatArgument* arguments_;
  std::size_t count_;
  std::size_t next_ = 0;
  std::wstring out_;
};

}  // namespace

std::wstring formatWideArguments(const wchar_t* format, const FormatArgument* arguments, std::size_t count) {
  const std::wstring_view text = format != nullptr ? format : L"(null)";
  std::optional<std::wstring> formatted;
  try {
    if (format != nullptr) formatted = Formatter(text, arguments, count).run();
  } catch (const std::exception&) {
    formatted.reset();
  }
  if (formatted) return std::move(*formatted);
  return L"<bad format: " + std::wstring(text) + L">";
}

}  // namespace platform

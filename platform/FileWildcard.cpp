#include "platform/FileWildcard.h"

#include <vector>

#include "platform/Text.h"

namespace platform {
namespace {

// Signs of an expression beside the plain characters; no name holds them.
constexpr wchar_t kAny = L'*';         // any text
constexpr wchar_t kAnyToPoint = L'<';  // any text up to the last point of the name
constexpr wchar_t kOneOrNone = L'>';   // one character; none before a point and at the end
constexpr wchar_t kPointOrEnd = L'"';  // a point; nothing at the end

/// The positions in an expression that a name may have led to so far, position `size` being its end.
using Positions = std::vector<bool>;

/// Adds the positions that are reached without a character. `next` is the character that comes, 0 at the end of the
/// name.
void skipAhead(const std::wstring& expression, Positions& positions, wchar_t next) {
  for (std::size_t i = 0; i < expression.size(); ++i) {
    if (!positions[i]) continue;
    const wchar_t sign = expression[i];
    const bool skips = sign == kAny || sign == kAnyToPoint || (sign == kOneOrNone && (next == L'.' || next == 0)) ||
                       (sign == kPointOrEnd && next == 0);
    if (skips) positions[i + 1] = true;
  }
}

Positions take(const std::wstring& expression, const Positions& positions, wchar_t c, bool isLastPoint) {
  Positions result(positions.size(), false);
  for (std::size_t i = 0; i < expression.size(); ++i) {
    if (!positions[i]) continue;
    const wchar_t sign = expression[i];
    if (sign == kAny || (sign == kAnyToPoint && !isLastPoint)) {
      result[i] = true;
    } else if ((sign == kOneOrNone && c != L'.') || (sign == kPointOrEnd && c == L'.') || sign == c) {
      result[i + 1] = true;
    }
  }
  return result;
}

}  // namespace

WildcardPattern::WildcardPattern(std::wstring_view pattern) {
  if (pattern == L"*.*") pattern = L"*";
  const std::wstring text = toLower(pattern);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    const wchar_t next = i + 1 < text.size() ? text[i + 1] : L'\0';
    if (c == L'?') {
      expression_ += kOneOrNone;
    } else if (c == L'.' && (next == L'?' || next == L'*')) {
      expression_ += kPointOrEnd;
    } else if (c == L'*' && next == L'.') {
      expression_ += kAnyToPoint;
    } else if (c == L'.' && next == 0 && !expression_.empty() && expression_.back() == kAnyToPoint) {
      break;
    } else {
      expression_ += c;
    }
  }
}

bool WildcardPattern::matches(std::wstring_view name) const {
  if (expression_ == L"*") return true;
  const std::wstring text = toLower(name);
  const std::size_t lastPoint = text.rfind(L'.');
  Positions positions(expression_.size() + 1, false);
  positions[0] = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    skipAhead(expression_, positions, text[i]);
    positions = take(expression_, positions, text[i], i == lastPoint);
  }
  skipAhead(expression_, positions, 0);
  return positions.back();
}

}  // namespace platform

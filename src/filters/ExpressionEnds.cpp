#include "filters/ExpressionEnds.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace Quorvel::FileAccess {
namespace {

constexpr std::wstring_view kNotFollowedBy = L"(?!";

bool isWordCharacter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'_';
}

/// One character of the text that is found: itself, or nothing for one (or none, or several) that may vary.
using Piece = std::optional<wchar_t>;

/// Takes an expression apart from left to right. A construct that it does not know makes it fail as a whole: whatever
/// stands beside an alternation or a change of mode would mean something else.
class Reader {
 public:
  explicit Reader(std::wstring_view expression) : rest_(expression) {}

  bool read() {
    atStart_ = take(L"^");
    while (!rest_.empty()) {
      if (rest_ == L"$") {
        atEnd_ = true;
        return true;
      }
      if (!readPiece()) return false;
    }
    return true;
  }

  ExpressionEnds ends() const {
    ExpressionEnds result;
    if (atStart_) {
      for (auto piece = pieces_.begin(); piece != pieces_.end() && *piece; ++piece) result.prefix += **piece;
    }
    if (atEnd_) {
      for (auto piece = pieces_.rbegin(); piece != pieces_.rend() && *piece; ++piece) result.suffix += **piece;
      std::reverse(result.suffix.begin(), result.suffix.end());
    }
    return result;
  }

 private:
  bool take(std::wstring_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  bool readPiece() {
    if (take(kNotFollowedBy)) return skipLookAhead();
    Piece piece;
    if (take(L"\\.")) {
      piece = L'.';
    } else if (isWordCharacter(rest_.front())) {
      piece = rest_.front();
      rest_.remove_prefix(1);
    } else if (!take(L".") && !(take(L"[") && skipSet())) {
      return false;
    }
    if (!skipRepetitions(piece)) return false;
    pieces_.push_back(piece);
    return true;
  }

  /// Of word characters only; takes no part in the text.
  bool skipLookAhead() {
    while (!rest_.empty() && isWordCharacter(rest_.front())) rest_.remove_prefix(1);
    Piece once = L')';
    return take(L")") && skipRepetitions(once) && once;
  }

  bool skipSet() {
    const auto isEnd = [](wchar_t c) { return c == L']' || c == L'['; };
    take(L"^");
    if (!rest_.empty() && isEnd(rest_.front())) return false;
    while (!rest_.empty() && !isEnd(rest_.front())) {
      rest_.remove_prefix(std::min<std::size_t>(rest_.front() == L'\\' ? 2 : 1, rest_.size()));
    }
    return take(L"]");
  }

  /// Takes the repetitions behind a piece, which may then vary.
  /// @return false before a brace that counts nothing: it stands for itself
  bool skipRepetitions(Piece& piece) {
    while (take(L"*") || take(L"+") || take(L"?") || skipCount()) piece.reset();
    return !rest_.starts_with(L'{');
  }

  /// `{2}`, `{2,}` or `{2,3}`.
  bool skipCount() {
    const std::wstring_view before = rest_;
    if (take(L"{") && skipDigits()) {
      if (take(L",")) skipDigits();
      if (take(L"}")) return true;
    }
    rest_ = before;
    return false;
  }

  bool skipDigits() {
    const std::size_t count = std::min(rest_.find_first_not_of(L"0123456789"), rest_.size());
    rest_.remove_prefix(count);
    return count > 0;
  }

  std::wstring_view rest_;
  std::vector<Piece> pieces_;
  bool atStart_ = false;
  bool atEnd_ = false;
};

}  // namespace

ExpressionEnds endsOfExpression(std::wstring_view expression) {
  Reader reader(expression);
  return reader.read() ? reader.ends() : ExpressionEnds();
}

}  // namespace Quorvel::FileAccess

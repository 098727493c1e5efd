// What every text that an expression finds begins and ends with, so that most names need no search.
#pragma once

#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

/// Texts that are required of a name; an empty one requires nothing.
struct ExpressionEnds {
  std::wstring prefix;
  std::wstring suffix;

  bool mayMatch(std::wstring_view name) const { return name.starts_with(prefix) && name.ends_with(suffix); }
};

/// Reads them off an expression of simple make: letters and digits, "\.", ".", sets, "(?!digits)", repetitions, "^" at
/// its beginning and "$" at its end. For any other expression nothing is required. Expects that "^" and "$" hold at the
/// ends of the whole name only.
ExpressionEnds endsOfExpression(std::wstring_view expression);

}  // namespace Quorvel::FileAccess

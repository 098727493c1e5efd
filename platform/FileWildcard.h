// Name patterns of listings. Pure. Internal to the platform.
#pragma once

#include <string>
#include <string_view>

namespace platform {

/// A pattern of a listing, prepared once and matched against many names, without regard to letter case.
///
/// `*` matches any text and `?` one character that is no point. As Windows has it: `?` matches nothing as well before a
/// point and at the end of the name (`tb??.zdw` matches `tb1.zdw`), a point before a wildcard matches nothing at the
/// end
/// (`*.*` matches every name), and `*.` at the end matches the names without a point.
class WildcardPattern {
 public:
  explicit WildcardPattern(std::wstring_view pattern);
  bool matches(std::wstring_view name) const;

  static bool hasWildcard(std::wstring_view text) { return text.find_first_of(L"*?") != std::wstring_view::npos; }

 private:
  std::wstring expression_;
};

}  // namespace platform

// Narrowing of integers that says where it failed instead of cutting bits off.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace Quorvel::FileAccess {

/// The text names source file and line, "ProgressBar.cpp(57): ...".
class NarrowingError : public std::range_error {
 public:
  NarrowingError(const std::string& path, int line)
      : std::range_error(path.substr(path.find_last_of("/\\") + 1) + "(" + std::to_string(line) +
                         "): number out of range") {}
};

/// @param file, line  the caller's place
/// @throws NarrowingError when `value` is no value of `To`
template <typename To, typename From>
constexpr To checkedNarrow(From value, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (!std::in_range<To>(value)) throw NarrowingError(file, line);
  return static_cast<To>(value);
}

}  // namespace Quorvel::FileAccess

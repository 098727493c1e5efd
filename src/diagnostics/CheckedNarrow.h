// Narrowing of integers that says where it failed instead of cutting bits off.
#pragma once

#include <source_location>
#include <stdexcept>
#include <string>
#include <utility>

namespace Quorvel::FileAccess {

/// The text names source file and line, "ProgressBar.cpp(57): ...".
class NarrowingError : public std::range_error {
 public:
  explicit NarrowingError(const std::source_location& where)
      : std::range_error(fileOf(where) + "(" + std::to_string(where.line()) + "): number out of range") {}

 private:
  static std::string fileOf(const std::source_location& where) {
    const std::string path = where.file_name();
    return path.substr(path.find_last_of("/\\") + 1);
  }
};

/// @throws NarrowingError when `value` is no value of `To`
template <typename To, typename From>
constexpr To checkedNarrow(From value, const std::source_location& where = std::source_location::current()) {
  if (!std::in_range<To>(value)) throw NarrowingError(where);
  return static_cast<To>(value);
}

}  // namespace Quorvel::FileAccess

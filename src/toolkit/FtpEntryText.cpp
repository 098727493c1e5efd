#include "toolkit/FtpEntryText.h"

#include <algorithm>
#include <charconv>

namespace Quorvel::FileAccess {

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return result;
}

std::string_view withoutLineEnd(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  return line;
}

bool isNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::int64_t> parseSize(std::string_view text) {
  std::int64_t size = 0;
  if (!isNumber(text)) return std::nullopt;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), size);
  return result.ec == std::errc() ? std::optional(size) : std::nullopt;
}

bool isEntryName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find_first_of(std::string_view("/\\\r\n\0", 5)) == std::string_view::npos;
}

}  // namespace Quorvel::FileAccess

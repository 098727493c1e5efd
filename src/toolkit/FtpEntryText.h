// What the forms of listing lines share. Pure. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Quorvel::FileAccess {

/// ASCII only; other bytes stay.
std::string lowerCase(std::string_view text);
std::string_view withoutLineEnd(std::string_view line);
bool isNumber(std::string_view text);
/// Bytes. @return empty for a text that is no number, and for one that 63 bits do not hold
std::optional<std::int64_t> parseSize(std::string_view text);
/// False for "", "." and "..", and for a name with a separator, NUL or line end in it.
bool isEntryName(std::string_view name);

}  // namespace Quorvel::FileAccess

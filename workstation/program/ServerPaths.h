// Paths below a server's base directory, and names that come from a server. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace workstation::program {

/// A place below the base directory, separated by `/`, without one at either end; empty for the base itself.
struct ServerPath {
  std::wstring text;

  std::wstring directory() const;
  std::wstring name() const;
};

/// Reads a path that a user gives; a leading `/` means the base directory, which `..` can't leave.
/// @return false for a path with `..`, a backslash or a control character
bool parseServerPath(const std::wstring& text, ServerPath& out);

/// Joins two parts with one `/`; an empty part leaves the other as it is.
std::wstring joinServerPath(const std::wstring& first, const std::wstring& second);

bool hasWildcards(const std::wstring& name);
/// True when a relative path from a server can be a file of this workstation without leaving its directory.
bool isUsableHere(const std::wstring& directory, const std::wstring& name);

/// A part of a file: from an offset, so many bytes (none: to its end), or the last bytes.
struct ByteRange {
  std::int64_t begin = 0;
  std::optional<std::int64_t> size;
  bool fromEnd = false;  ///< the last `size` bytes

  /// Cuts the range to a file. @return false when the file ends before it begins
  bool cutTo(std::int64_t fileSize, std::int64_t& offset, std::int64_t& bytes) const;
};
/// Reads FROM-TO (both included), FROM-, FROM+COUNT and -COUNT.
bool parseRange(const std::wstring& text, ByteRange& out);

}  // namespace workstation::program

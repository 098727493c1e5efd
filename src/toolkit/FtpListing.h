// Lines of FTP directory listings: facts (RFC 3659, MLSD and MLST), Unix and DOS text. Pure.
//
// Texts are the server's bytes; nameOf turns them into wide text. A line that is none of these gives nothing; neither
// do "." and "..", nor a name with a separator, NUL or line end in it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct FtpEntry {
  std::string name;
  bool isDirectory = false;
  bool isLink = false;
  /// Bytes, never negative. Empty for a directory, for a link whose own size is told, and for a number too large.
  std::optional<std::int64_t> size;
  std::optional<FILETIME> time;  ///< UTC
};

/// "type=file;size=12;modify=20240131101500.123; name", with or without a blank before it. The entries "cdir" and
/// "pdir" give nothing, nor does a line without a type.
std::optional<FtpEntry> parseFactsLine(std::string_view line);
/// The same for the one line in the reply to MLST, where the name may be a path: its last component counts.
std::optional<FtpEntry> parseFactsOfOne(std::string_view line);

/// A line of LIST, Unix ("-rw-r--r-- 1 o g 12 Jan 31 10:15 name") or DOS ("01-31-24 10:15AM 12 name"). The times of the
/// line are taken for UTC. Of a link ("name -> where") the name counts.
/// @param now  UTC; a date without a year is the one that lies nearest before it, or at most a day behind it
std::optional<FtpEntry> parseListLine(std::string_view line, const FILETIME& now);

// Lines that belong into a listing and give no entry, such as ".", a device or a name that is passed over. What is
// neither an entry nor one of these is no line of a listing.
bool isFactsLine(std::string_view line);
bool isListLine(std::string_view line);

/// "20240131101500" with an optional fraction, UTC (RFC 3659, section 2.3). A leap second counts as the second before.
std::optional<FILETIME> parseFtpTime(std::string_view text);
/// The same form, whole seconds.
std::string formatFtpTime(const FILETIME& time);

/// UTF-8, otherwise Latin-1.
std::wstring nameOf(std::string_view bytes);

/// `*` and `?`, without regard to case. An empty pattern matches every name.
bool matchesPattern(const std::wstring& name, const std::wstring& pattern);

}  // namespace Quorvel::FileAccess

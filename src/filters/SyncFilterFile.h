// A project's "WGO_SyncFilter.xml": rules of the user, one a line. Looks like XML and is none.
//
// Nothing is kept between two reads, as a user may edit the file at any time. What can't be read or is no rule changes
// nothing and is not told.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/Text.h"

namespace Quorvel::FileAccess {

/// Values are in the order in which rules are applied.
enum SyncFilterKind : int {
  SyncFilterExtension = 1,
  SyncFilterExactFile = 2,
  SyncFilterDirectory = 3,
  SyncFilterLeftMatch = 4,
};

/// Rules by kind and text, with the number of the first line that holds them.
using SyncFilterEntries = std::map<std::pair<SyncFilterKind, std::wstring>, int>;

/// What the scan of a line ends in.
enum class SyncFilterLine { NoEntry, Entry, EndOfFilter };

/// Scans one line for an active rule.
/// @param line     up to its line end; what stands behind a NUL is not looked at
/// @param keyword  kExcludeLines or kIncludeLines
/// @param entry    set when the answer is Entry
SyncFilterLine scanSyncFilterLine(const std::wstring& line, const wchar_t* keyword,
                                  std::pair<SyncFilterKind, std::wstring>& entry);

/// Adds the active rules of an open file, up to the end of the filter.
/// @param keyword  "exclude" or "include"
void readSyncFilterLines(platform::TextFile& file, const wchar_t* keyword, SyncFilterEntries& entries);

/// Full path of a project's file, also where there is none; empty for a null name.
std::wstring BuildSyncFilterPath(const wchar_t* projectName);

constexpr const wchar_t* kExcludeLines = L"exclude";
constexpr const wchar_t* kIncludeLines = L"include";

/// Adds the active lines of a file, as it stands.
/// @return false when there is no file to read
bool readSyncFilterFile(const std::wstring& path, const wchar_t* keyword, SyncFilterEntries& entries);

// Both make a project's default file where there is none, and read then.

/// @return false when there is no file to read
bool ReadSyncFilterExcludes(const wchar_t* projectName, SyncFilterEntries& entries);
/// @return true
bool ReadSyncFilterIncludes(const wchar_t* projectName, SyncFilterEntries& entries);

}  // namespace Quorvel::FileAccess

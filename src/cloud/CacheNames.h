// Where a cache lies, and names that a server gave as places in it: what they may name, and where they may not lead.
#pragma once

#include <optional>
#include <string>

class PRJ;

namespace Quorvel::FileAccess {

class CloudCall;

/// Directory of the cache of the call's project, whether it is there or not; empty, and told to the log, when the host
/// knows none.
std::wstring cacheDirectory(const CloudCall& call, const PRJ& prj);

/// The file beside a cache's directory that keeps what the server told of its files: "UUID.files".
std::wstring projectFilesRecord(const std::wstring& directory);

/// True for a name directly below "BIM", in any letter case.
bool isBimTopLevelName(const std::wstring& name);

/// Full path of a name in a directory; none for one that would lie outside of it, by its text or by a link on the way.
std::optional<std::wstring> placeInDirectory(const std::wstring& directory, const std::wstring& name);

/// Whether the call's project is the one whose directory the host has as path 1; any other is told to the log. A list
/// of one project must never be applied to the files of another.
bool requireOpenProject(const CloudCall& call);

}  // namespace Quorvel::FileAccess

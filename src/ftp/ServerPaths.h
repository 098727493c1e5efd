// Paths of the server as texts. `/` and `\` both separate. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ftp/RemoteConfiguration.h"

namespace Quorvel::FileAccess {

struct ServerPath {
  std::wstring directory;  ///< the root for a name directly below it; empty for a name alone
  std::wstring name;
};

/// Cuts a path at its last separator.
ServerPath splitServerPath(const std::wstring& path);

/// True for a path with a component "." or "..": what it means depends on where it is read.
bool hasDotComponent(std::wstring_view path);

/// With a separator between both parts, unless one is there or a part is empty.
std::wstring joinServerPath(const std::wstring& directory, const std::wstring& below);

/// The path and all its parents below the root, the outermost first: "/a/b" gives "/a", "/a/b". A drive is no
/// component.
std::vector<std::wstring> componentPaths(const std::wstring& path);

/// What an operation answers for a status. A failure without a code of its own must not read as success: it is 30.
DWORD codeOf(const RemoteStatus& status);

}  // namespace Quorvel::FileAccess

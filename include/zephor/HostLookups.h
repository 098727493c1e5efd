// Small questions about the machine, the network and what of the host is running. From any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// IPv4 address of a host as text. An answer is kept until the process ends.
/// @return false, `address` untouched, for null, an empty text, and a host that is not found
ZEPHOR_API bool WGO_getIPAddress(const wchar_t* host, std::wstring& address);
/// Appends the entries of a directory that are no directories themselves.
/// @param server  whose share `directory` is; null for a directory of this workstation
/// @return elements of `list`, those from before included
ZEPHOR_API std::size_t WGO_getServerFiles(const wchar_t* server, const wchar_t* directory, const wchar_t* pattern,
                                          std::vector<WIN32_FIND_DATAW>& list);
/// True for a path within a user's own folder of the BIM folder, "...\BIM\0012\...".
ZEPHOR_API bool WGO_isQuorvelBimUserSubdirectory(const std::wstring& path);

// What the host's selection module says; false where it is not loaded.

ZEPHOR_API bool WGO_BWSFileExists();
ZEPHOR_API bool WGO_IsSelectionDialogActiv();
/// Whether the host's event of a pending export is there.
ZEPHOR_API bool WGO_IsOndrathExportPending();

}  // namespace Quorvel::FileAccess

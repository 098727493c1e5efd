// Addresses of the web portal, and what the shell says when it can't open one. Pure.
#pragma once

#include <cstdint>
#include <string>

namespace Quorvel::FileAccess {

// UUIDs and tokens are put in as they are: the service gives them out fit for an address.

std::wstring portalLink(const std::wstring& portal, const std::wstring& token);
std::wstring dashboardLink(const std::wstring& portal, const std::wstring& token, const std::wstring& team,
                           const std::wstring& project);
std::wstring viewerLink(const std::wstring& portal, const std::wstring& team, const std::wstring& project);

/// Text of an answer of ShellExecuteW; empty for an error that has none. @return false, `out` untouched, for a code of
/// 32 or above
bool getShellExecuteErrorText(std::intptr_t code, std::wstring& out);

}  // namespace Quorvel::FileAccess

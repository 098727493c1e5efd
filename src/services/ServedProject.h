// Which server and project a service stands before when its caller names neither.
#pragma once

#include <optional>
#include <string>

#include "host/Project.h"

namespace Quorvel::FileAccess {

/// Host and project directory of the transfer object; copies, since the object is aimed elsewhere while services run.
std::wstring currentHost();
std::wstring currentProjectDirectory();

/// False when a scope could not aim the service at the project: it then still stands before the one before.
bool isAimedAt(const std::wstring& host, const std::wstring& project);

/// The active project when its host is exactly `host`; otherwise none, and the log is told under the name of
/// `function`.
std::optional<PRJ> activeProjectOn(const std::wstring& host, const wchar_t* function);

/// Object file name as the transfer object gives it; empty for a type that is none.
std::wstring transferObjectFileName(int number, int fileType);

}  // namespace Quorvel::FileAccess

// From an open file handle of the host to the project file that it stands for.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// The contract of IZepInetFileTransfer::getFileInfoFromHandle.
bool resolveFileHandle(HANDLE file, int& type, int& number, std::wstring& name);

}  // namespace Quorvel::FileAccess

// Which of two files was written last.
#pragma once

#include <string>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess::Threading {

/// Compares the write times of two files: -1 when the second is newer, 1 when the first is, 3 when only the second is
/// missing, 4 when both are. A first file that is missing counts as older than any other.
UpdateVerdict compareWriteTimes(const std::wstring& first, const std::wstring& second);

/// True when the second file goes over the first.
bool copiesSecond(UpdateVerdict verdict);

}  // namespace Quorvel::FileAccess::Threading

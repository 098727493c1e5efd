// Line ends of the system's texts.
#pragma once

#include <string>

namespace Quorvel::FileAccess::ConnectionLogger {

/// Cuts one line feed at the end, then one carriage return before it.
void cutLineEnd(std::wstring& text);

}  // namespace Quorvel::FileAccess::ConnectionLogger

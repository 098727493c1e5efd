// Where the error log and the trace are written: two rotating files of the workstation, and the terminal. From any
// thread.
#pragma once

#include <string>

namespace workstation {

/// Writes a line to the error log, and to the terminal when the trace is on.
void writeErrorLine(const std::wstring& line);
/// Writes a text to the trace, whatever its level.
void writeTraceText(const std::wstring& text);
/// True when trace texts of `level` are written.
bool isTraced(int level);

}  // namespace workstation

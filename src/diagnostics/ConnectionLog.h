// The connection log: a small file below the user's application data to which connection events are appended.
//
// The file is opened and closed for each line, so that a crash loses nothing. What can't be written is lost silently:
// a log never disturbs the work that it tells of. From any thread; lines of several threads may alternate.
#pragma once

namespace Quorvel::FileAccess::ConnectionLogger {

/// Appends one dated line. Null and texts of 4096 characters or more are not logged.
void AppendConnectionLog(const wchar_t* text);

/// Deletes the log.
void ResetConnectionLog();

}  // namespace Quorvel::FileAccess::ConnectionLogger

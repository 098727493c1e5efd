// How a workstation sets up what the host shows and logs: diagnostics, language, and whether boxes are forbidden.
#pragma once

#include <string>

#include "workstation/Export.h"

namespace workstation {

/// Opens the error log and the trace in `logDirectory` (a path of the system), which is made when it is missing. A
/// directory that can't be written loses the files and nothing else. Called again, it moves both to the new directory.
/// @param traceLevel  0 writes no trace; 1 to 4 write the trace texts of that level and below
WORKSTATION_API void startDiagnostics(const std::string& logDirectory, int traceLevel);
/// Writes out and closes both files. Lines that come later are only kept for recentErrorLines().
WORKSTATION_API void stopDiagnostics();

/// Language of every text from now on, by its short code: "en" or "de". Any other code, or an empty one, takes the
/// language of the environment. From any thread.
WORKSTATION_API void setLanguage(const std::string& shortCode);
/// Short code of the language in use.
WORKSTATION_API std::string language();

/// Whether the host forbids any dialog; answered by Msg2usr_IsDeny(). From any thread.
WORKSTATION_API void setDenied(bool denied);

}  // namespace workstation

// A look at the error log from within the program: what was written last, and who wants to hear it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

/// The last 200 lines of the error log as they were written there, without the line feed at their end, the oldest
/// first. Kept whether or not the log's file is open. From any thread.
WORKSTATION_API std::vector<std::wstring> recentErrorLines();

/// Hears every line from now on, on the thread that writes it; an empty function ends this. The listener may write
/// lines itself, which it does not hear. Once the call returns, the listener before it may still be running on another
/// thread.
WORKSTATION_API void setErrorLineListener(std::function<void(const std::wstring&)> listener);

}  // namespace workstation

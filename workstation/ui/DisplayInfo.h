// The text that shows what is going on: scopes put texts up, the innermost one is seen while the host allows it.
#pragma once

#include <functional>
#include <string>

#include "workstation/Export.h"

namespace workstation {

/// Hears the text that is to be seen from now on, empty when there is none, on the thread that changed it. An empty
/// function ends this. A start-up operation: no scope may be open and no other thread may open one.
WORKSTATION_API void setDisplayInfoListener(std::function<void(const std::wstring&)> listener);

}  // namespace workstation

// The projects that are open for the project database, by the number under which they are open: the open project of the
// process and those that tempProjectOpen opened. Any thread.
#pragma once

#include <optional>
#include <string>

#include "host/Project.h"
#include "workstation/Export.h"

namespace workstation {

/// Number of the open project, as kgunit() answers it. Those of tempProjectOpen begin at kFirstTemporaryUnit.
constexpr int kOpenProjectUnit = 1;
constexpr int kFirstTemporaryUnit = 1000;

/// Descriptor of the project behind a number; empty when nothing is open under it.
WORKSTATION_API std::optional<PRJ> projectOfUnit(int unit);

/// Directory of the project behind a number, a library path without a backslash at its end; empty when nothing is open
/// under it.
WORKSTATION_API std::wstring directoryOfUnit(int unit);

}  // namespace workstation

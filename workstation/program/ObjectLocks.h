// Locking objects of the project that is served, whichever store keeps its locks.
#pragma once

#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/ObjectName.h"

namespace workstation::program {

class Context;

/// Tells of each object how it ended.
/// @param locked  receives those that were locked now
ExitCode lockObjects(const Context& context, const std::vector<ObjectName>& objects, std::vector<ObjectName>& locked);
ExitCode unlockObjects(const Context& context, const std::vector<ObjectName>& objects);
/// Throws CommandFailure when the locks can't be read.
ExitCode listLocks(const Context& context);

}  // namespace workstation::program

// std edit|commit|rollback|unlock: the road of a change to a container.
#pragma once

#include <string>

#include "workstation/program/ExitCode.h"

namespace workstation::program {

class Context;

// `name` is a container as findContainer takes it.

ExitCode editContainer(Context& context, const std::string& name);
ExitCode commitContainer(Context& context, const std::string& name);
ExitCode rollBackContainer(Context& context, const std::string& name);
ExitCode unlockContainer(Context& context, const std::string& name, bool force);

}  // namespace workstation::program

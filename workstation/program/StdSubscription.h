// std subscribe|unsubscribe|status: which container this workstation takes its standard resources from.
#pragma once

#include <string>

#include "workstation/program/ExitCode.h"

namespace workstation::program {

class Context;

/// @param name  empty: brings the container up to date that the workstation is subscribed to
ExitCode subscribeToContainer(Context& context, const std::string& name);
ExitCode unsubscribeContainer(Context& context, bool force);
ExitCode tellContainer(Context& context, const std::string& name);

}  // namespace workstation::program

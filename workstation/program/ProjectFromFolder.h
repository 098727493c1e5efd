// An unpacked project shared as a new one.
#pragma once

#include <string>

#include "workstation/program/ExitCode.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

class Context;

/// Makes a project in the store, opens it here, copies the files of a project's directory into it, and sends them. One
/// that an earlier run made and that has nothing yet is gone on with. Throws CommandFailure.
/// @param folder  as the person named it; stays as it is
ExitCode createProjectFrom(Context& context, const StoreTeam& team, const std::wstring& name,
                           const std::string& folder);

}  // namespace workstation::program

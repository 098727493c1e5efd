// From the error numbers of the system to the error codes that the platform answers. Internal to the platform.
#pragma once

#include "platform/WindowsTypes.h"

namespace platform {

/// Code for an errno value; 0 stays 0, an unknown number is ERROR_GEN_FAILURE.
DWORD fromErrno(int error);

/// Sets the thread's last error and answers FALSE, for `return fail(...)`.
BOOL fail(DWORD code);

/// The same with the code of the current errno.
BOOL failWithErrno();

}  // namespace platform

// How an operation on files answers.
#pragma once

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// The answer of an operation: a failure is the thread's last error as well.
template <typename Code>
Code answered(Code code) {
  if (code != 0) SetLastError(static_cast<DWORD>(code));
  return code;
}

}  // namespace Quorvel::FileAccess

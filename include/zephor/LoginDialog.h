// The question for user name and password of a server.
#pragma once

#include <cstdint>
#include <string>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// The caller's record, which the dialog fills when the user agrees. Texts are zero-terminated. Who passes a password
/// on overwrites this one afterwards; the dialog does so with its own copies.
struct LoginData {
  wchar_t userName[64];
  wchar_t password[16];
  std::int32_t reason;  ///< why the user is asked: 0 none, 2 the user name was refused, 3 the password was refused
  std::uint8_t saveUser;
  std::uint8_t savePassword;
};

/// Runs the dialog on the calling thread, modal. Where the host forbids any dialog it is cancelled.
/// @return 1 for OK, 2 for Cancel, which leaves the record as it was
ZEPHOR_API int WGO_showLoginDialog(HWND owner, const std::wstring& serverName, const std::wstring& serverAddress,
                                   LoginData& data);

}  // namespace Quorvel::FileAccess

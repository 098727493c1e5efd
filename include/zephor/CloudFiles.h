// Files of a cloud project as the server lists them, and signing on.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"
#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// One server file as a listing line tells it. Texts are carried as they stand; a file time stays 0 when its date can't
/// be read.
struct CResourceInfo {
  std::wstring name;
  std::wstring text1;
  std::wstring text2;  ///< date of creation
  std::wstring text3;  ///< date of the last change
  std::wstring text4;
  std::wstring text5;
  std::wstring text6;  ///< never filled from a line
  HeaderBits header;
  FILETIME createdTime{};   ///< UTC
  FILETIME modifiedTime{};  ///< UTC
  /// The number that begins at the third character of the name, whatever the file is; 0 when none begins there.
  std::int32_t objectNumber = 0;
  SYSTEMTIME createdCalendar{};  ///< the dates as they were read, before any check
  SYSTEMTIME modifiedCalendar{};
};

/// Logged in after asking the user if need be. @return 0; 1 when the connection fails; 0x8000FFFF when the session
/// can't be read
ZEPHOR_API unsigned long WGO_OndrathLogin();
/// @return true when logged in
ZEPHOR_API bool WGO_SSOLogin(bool silent);
/// Whether the application may log out without asking.
enum WGO_LogoutAllowed : int { eWGOLogout_Allowed = 1, eWGOLogout_Ask = 2 };
ZEPHOR_API WGO_LogoutAllowed WGO_CheckForLogoutInOndrathProject();
/// Carries out a pending logout.
ZEPHOR_API void WGO_DelayedOndrathLogout();

/// The server's record of one Teilbild or Plan. @return false when the project is not in the cloud or has no such
/// object
ZEPHOR_API bool WGO_getBimTBInfo(const PRJ& prj, int number, CResourceInfo& out);
ZEPHOR_API bool WGO_getBimPlInfo(const PRJ& prj, int number, CResourceInfo& out);
/// The server's files of one class, sorted by name; empty when the project is not in the cloud.
ZEPHOR_API void WGO_getOndrathResourceFiles(const PRJ& prj, std::vector<CResourceInfo>& out, ShareFileTypeID type);
ZEPHOR_API void WGO_getNewShareFilesMetadata(const PRJ& prj, std::vector<NewShareFileMetadata>& out,
                                             ShareFileTypeID type);
/// Names of the files of one class that the server has deleted; empty when they can't be listed.
ZEPHOR_API void WGO_getOndrathDeletedFiles(const PRJ& prj, std::vector<std::wstring>& out, ShareFileTypeID type);

}  // namespace Quorvel::FileAccess

// Users of a project: the list in "user.cfg", the current user.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/Export.h"

/// One user of a project. Text members are zero-terminated.
struct QuorvelUser {
  std::int32_t number = 0;
  std::uint32_t flags = 0;
  wchar_t loginName[64] = {};  ///< "_BIM_%03u" for cloud members
  wchar_t hostName[64] = {};   ///< "localhost" for cloud members
  wchar_t firstName[64] = {};
  wchar_t lastName[64] = {};
  wchar_t email[64] = {};
  wchar_t uuid[37] = {};
};

/// Reads the user list of a directory. @return 0; 2 when there is none; 13 when the file is damaged
HOST_API int lzReadAllUsers_fromPath_toVector(const std::wstring& directory, std::vector<QuorvelUser>& out);
/// Replaces the user list of a directory whole or not at all. @return 0, or an error code
HOST_API int lzWriteAllUsers_fromVector_to_Path(const std::vector<QuorvelUser>& users, const std::wstring& directory);
/// The user who works at this workstation. @return 0
HOST_API int lz_GetCurrentUserInfo(QuorvelUser& out);
/// Display name of a user number; "#number" for one that the list does not hold.
HOST_API std::wstring lz_GetUserNameFromUserId(int number);
/// Loads a user list into the host. @return true on success
HOST_API bool lz_uInitRAW(const std::wstring& directory, const QuorvelUser& current);
/// Number of 32-bit words of a member set.
HOST_API int lzuGetCountOfUserContainers();
/// Number of the current user, and the extension of this user's files.
HOST_API int lzbnum();
HOST_API std::wstring lzbext();

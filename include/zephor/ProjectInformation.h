// Who is in a cloud project, what it is called, and who holds it.
//
// A failure of the service reads as "no": an unknown project, no rights, nobody. From any thread, except where a
// comment says otherwise.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// The first project of the name in the teams' order; letter case counts. @return false, `out` untouched, for none
ZEPHOR_API bool WGO_getOndrathProjectInfoFromName(const std::wstring& name, PRJ& out);
ZEPHOR_API bool WGO_getOndrathProjectInfoFromUuid(const std::wstring& uuid, PRJ& out);
/// Name and team of a project. @return the service's status; the outputs stay as they are unless it is 0
ZEPHOR_API unsigned long WGO_getProjectInfo(const std::wstring& projectUuid, std::wstring& name, std::wstring& teamName,
                                            std::wstring& teamUuid);
ZEPHOR_API bool WGO_getOndrathProjectUsers(const PRJ& prj, std::vector<CloudProjectMember>& out);

/// The lock of a whole project. @return the service's status; 0 for a project that is not in the cloud
ZEPHOR_API CloudStatus WGO_setProjectLock(const PRJ& prj, OndrathProjectLockType type);
/// @param all  everybody's, not only this user's. @return true when it is gone, and for a project that is not in the
/// cloud
ZEPHOR_API bool WGO_removeProjectLock(const PRJ& prj, bool all);
/// @return false, also for a project that is not in the cloud, when the locks can't be told
ZEPHOR_API bool WGO_getProjectLocks(const PRJ& prj, std::vector<LockUser>& out);

/// False for a project that is not in the cloud.
ZEPHOR_API bool WGO_IsCurrentUserAdmin(const PRJ& prj);
ZEPHOR_API bool WGO_IsCurrentUserEditor(const PRJ& prj);

/// The signed-in user; without a connection to the cloud `out` stays as it is.
ZEPHOR_API void WGO_getUser(std::wstring& out);
ZEPHOR_API void WGO_getCurrentUserNameOndrath(std::wstring& out);
ZEPHOR_API void WGO_getCurrentUserEmailOndrath(std::wstring& out);

/// Whether a session has the project open (cloud), or somebody holds a lock of its objects (any other store).
/// @param ignoreOwn  what this session or user holds does not count
ZEPHOR_API bool WGO_isProjectInUse(const PRJ& prj, bool ignoreOwn);
/// As above; a project of another store that is not open in the core is opened for the time of the test.
ZEPHOR_API bool WGO_isProjectInUseEx(const PRJ& prj, bool ignoreOwn);

}  // namespace Quorvel::FileAccess

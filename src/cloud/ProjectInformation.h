// Cloud projects, their people and their locks, as the service answers.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Reads a project's descriptor from the server into the directory `server`, through host path 18.
/// @return 0; 13 for a text that is no GUID, for which nothing is asked, and when the server does not give the project;
///         3 when host path 18 is not set
CloudStatus Ondrath_getProjectInfoFromOnlineServer(const std::wstring& server, const std::wstring& uuid, PRJ& out);
bool Ondrath_getProjectInfoFromName(const std::wstring& name, PRJ& out);
bool Ondrath_getProjectInfoFromUuid(const std::wstring& uuid, PRJ& out);
/// Deletes a project on the server, for everybody.
bool Ondrath_deleteProject(const PRJ& prj);
bool Ondrath_getProjectUsers(const PRJ& prj, std::vector<CloudProjectMember>& out);
CloudStatus Ondrath_setProjectLock(const PRJ& prj, OndrathProjectLockType type);
bool Ondrath_removeProjectLock(const PRJ& prj, bool all);
bool Ondrath_getProjectLocks(const PRJ& prj, std::vector<LockUser>& out);
bool Ondrath_IsCurrentUserAdmin(const PRJ& prj);
bool Ondrath_IsCurrentUserEditor(const PRJ& prj);

}  // namespace Quorvel::FileAccess

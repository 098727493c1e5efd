// Projects as a whole: making, fetching and deleting them, their places on this workstation. On the caller's thread.
//
// Failures go to the trace or the error log; nobody is shown a box.
#pragma once

#include <string>
#include <vector>

#include "host/Project.h"
#include "platform/WindowsTypes.h"
#include "zephor/Export.h"
#include "zephor/FileTransfer.h"

struct QuorvelUser;

namespace Quorvel::FileAccess {

/// Makes the local descriptor of a cloud project, below host path 41. One that names the same team and project already
/// stands as it is and is read into `prj`; one of another team is rewritten.
ZEPHOR_API bool WGO_createNewShareProjectInfo(std::wstring teamUuid, std::wstring teamName, std::wstring projectUuid,
                                              std::wstring projectName, PRJ& prj);
/// Puts the server's descriptor of a project in the place of the local one, which is deleted first. A descriptor that
/// turns out to be another project's is told to the trace alone.
/// @return 0, or why the directory, the deletion or the transfer failed
ZEPHOR_API unsigned long WGO_getSaveProjectInfoFromOnlineServer(const std::wstring& projectUuid, PRJ& prj);
/// Reads a project's descriptor from the server through its cache, whose directory is made when it is missing.
/// @param flag  without effect
/// @return 0; 3 without a directory for it; 13 for a project that is not in the cloud, and when the server does not
/// give it
ZEPHOR_API unsigned long WGO_getProjectInfoFromOnlineServer(const PRJ& prj, PRJ& out, bool flag);
/// The same by host and directory name. @return as above, but 0 for a host that is not the cloud, 13 for null
ZEPHOR_API unsigned long WGO_getProjectInfoFromOnlineServer(const wchar_t* host, const wchar_t* name, PRJ& out,
                                                            bool flag);

/// Deletes a cloud project on the server, for everybody; then the cache goes to the trash, and the project leaves the
/// recent list. Asks nobody. @return false when the server refused: nothing has changed then; and when it is deleted
/// there, but has no place on this workstation
ZEPHOR_API bool WGO_deleteProject(PRJ& prj);
/// Deletes the files of a tree for good and the directories that are empty then. Links go, what they lead to stays. A
/// directory whose name begins with a point stays with all in it, and so do read-only files.
/// @param removeRoot   false: `directory` itself stays
/// @param keepFiles    names, letter case counts, that stay wherever they lie
/// @param directories  null; the walk passes the list of what it found to itself
/// @return false for null, an empty text, and a directory that is a link and may not go itself
ZEPHOR_API bool WGO_deleteLocalDirectoryTree(const wchar_t* directory, bool removeRoot,
                                             std::vector<std::wstring>& keepFiles,
                                             std::vector<std::wstring>* directories);
/// Local directory of a project whose descriptor is there. @return false, `path` untouched, for any other
ZEPHOR_API bool WGO_createProjectPath(const wchar_t* host, const wchar_t* name, std::wstring& path);
/// Gives back the locks that this user holds in a project; where the service can't be aimed at it none are touched.
/// @return always true
ZEPHOR_API bool WGO_cleanupLocks(const wchar_t* host, const wchar_t* project);

// What the older store's projects had. The host still calls these, and they have nothing to do.

ZEPHOR_API bool WGO_deleteServerPrjDir(const wchar_t* host, const wchar_t* project);  ///< true; deletes nothing
ZEPHOR_API bool WGO_renameServerPrjDir(const wchar_t* host, const wchar_t* oldName, const wchar_t* newName);  ///< true
ZEPHOR_API bool WGO_createOnlineServerDirectory(const wchar_t* directory);                                    ///< false
ZEPHOR_API bool WGO_isRemoteOnlineProject(const PRJ& prj);                                                    ///< false
ZEPHOR_API bool WGO_isRemoteOnlineProjectInUse(const PRJ& prj);                                               ///< false
/// 0; `users` stays as it is.
ZEPHOR_API unsigned long WGO_getUserInfoFromOnlineServerProject(const PRJ& prj, std::vector<QuorvelUser>& users);
/// 0; `files` stays as it is.
ZEPHOR_API unsigned long WGO_getOnlineServerFiles(const wchar_t* directory, const wchar_t* pattern,
                                                  std::vector<RemoteFileEntry>& files);

}  // namespace Quorvel::FileAccess

// Lists of files of a cloud project.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "zephor/CloudFiles.h"
#include "zephor/Export.h"
#include "zephor/Projects.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Full paths. True for a project that is not in the cloud.
ZEPHOR_API bool WGO_DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files);
ZEPHOR_API bool WGO_DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files);
/// Sends a batch: other files, then Teilbilder compressed in place, then Plans, each with its header. A failed group is
/// asked about and ends the upload. What is not there is passed over, a Teilbild or Plan into the list of what was not
/// uploaded; so is, with a box, an object that the user has not locked.
ZEPHOR_API bool WGO_UploadFiles(const PRJ& prj, const std::set<std::wstring>& files);
ZEPHOR_API bool WGO_UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files);

// Project files, by their full paths, as a watcher of single files moves them: what is in step by its dates is not
// moved. The record of these dates lies beside the project's directory; losing it costs transfers, no file. All go
// through the access object in place (SetWGOAccess).

/// The server's records of those of the files that it has, by name in lower case. Only the classes of files that the
/// names need are asked for.
ZEPHOR_API void WGO_getOndrathProjectFiles(const PRJ& prj, const std::set<std::wstring>& files,
                                           std::vector<CResourceInfo>& out);
/// Brings what is not here, what the record has no entry of and what the server has other dates of. That replaces what
/// is here, also when it was changed here since and not sent; the embedded service copies such a file, unless it is an
/// object, to the project's "Backup" before, and leaves one that is open. A file that is in step by its dates stays as
/// it is, changed or not.
ZEPHOR_API WGOResult WGO_DownloadProjectFiles(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar);
/// With a progress bar directory by directory. @return false when a group failed; the others were sent all the same
ZEPHOR_API bool WGO_UploadProjectFiles(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar);
/// Deletes on the server, several at once; files here stay. @return 0, or the code of the first that failed
ZEPHOR_API std::uint32_t WGO_deleteProjectFiles(const PRJ& prj, const std::set<std::wstring>& files);

}  // namespace Quorvel::FileAccess

// Lists of files of a cloud project.
#pragma once

#include <set>
#include <string>

#include "zephor/Export.h"

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

}  // namespace Quorvel::FileAccess

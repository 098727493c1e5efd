// What the list uploads share.
#pragma once

#include <set>
#include <string>

class PRJ;

namespace Quorvel::FileAccess {

/// Sends files of a cloud project as one batch, each kind in its own way. A file that is not there is passed over, with
/// a line in the log and, for a Teilbild or Plan, an entry in the not-uploaded list. Any thread.
/// @param files  full paths
/// @return true also for a project that is not in the cloud
bool WGO_UploadFilesInternals(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar);

}  // namespace Quorvel::FileAccess

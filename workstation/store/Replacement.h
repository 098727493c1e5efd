// Replacing a file on the disk by a new version of it, made elsewhere.
#pragma once

#include <string>

#include "host/Cloud.h"
#include "workstation/Export.h"
#include "workstation/store/CacheRecord.h"

namespace workstation {

/// Puts a whole file in one step onto another's place, which may be on another file system. What somebody saves there
/// at any moment stays: kStoreChanged. `from` is used up when it went well.
/// @param judged  size and time of the file at `path` from which the new one was made
/// @return the text of a failure is in CloudStore::lastText()
WORKSTATION_API CloudStatus replaceUnchanged(const std::wstring& from, const std::wstring& path,
                                             const FileContent& judged);

}  // namespace workstation

// Groups of rules that the exported builders and the project's synchronisation put together.
#pragma once

#include <string>
#include <vector>

#include "filters/RuleTables.h"
#include "filters/SyncFilterFile.h"
#include "zephor/UploadFilters.h"

namespace Quorvel::FileAccess {

void AddPrjDirFilter_BaseRules(WGO_FileFilter& filter);
/// Files of the online machinery and of the project database.
void AddPrjDirFilter_InternalFiles(WGO_FileFilter& filter);
/// State of one user; this user's own selection file passes.
void AddPrjDirFilter_UserFiles(WGO_FileFilter& filter);
/// Resources that the cache or other services handle.
void AddPrjDirFilter_ResourceFiles(WGO_FileFilter& filter);
/// Adds the active "exclude" lines of a project's sync filter file.
/// @return false when the project is not to be synchronised (a null name, or the entry for "/"); rules added before
///         that entry stay
bool ApplySyncFilterExcludes(const wchar_t* projectName, WGO_FileFilter& filter);

/// Appends a table's rules.
void appendRules(const RuleTable& table, std::vector<UploadRule>& rules);
/// Appends what was read of a sync filter file.
/// @param include  the entries are of "include" lines, otherwise of "exclude" lines
void appendRules(const SyncFilterEntries& entries, bool include, const std::wstring& path,
                 std::vector<UploadRule>& rules);

}  // namespace Quorvel::FileAccess

#include "filters/UploadFilters.h"

namespace Quorvel::FileAccess {

void WGO_GetPrjDirUploadFilter(WGO_FileFilter& /*filter*/, bool /*withAllProjectFiles*/) {}
void WGO_GetPrjCopyUploadFilter(WGO_FileFilter& /*filter*/) {}
void WGO_GetCorUploadFilter(WGO_FileFilter& /*filter*/) {}
void WGO_Exclude_From_BackgroundUpload(WGO_FileFilter& /*filter*/) {}
void WGO_AddPrjDirFilter_BimSubdir(WGO_FileFilter& /*filter*/) {}
void WGO_AddPrjDirFilter_ExcludeTBPlanFiles(WGO_FileFilter& /*filter*/) {}
void WGO_AddPrjDirFilter_OtherwayHandled_BackgroundUploadedFiles(WGO_FileFilter& /*filter*/) {}
void WGO_AddPrjDirFilter_UserDefinedAddOns(const wchar_t* /*projectName*/, WGO_FileFilter& /*filter*/) {}
bool WGO_createSyncFilter(const wchar_t* /*projectName*/) {
  return false;
}

}  // namespace Quorvel::FileAccess

#include "zephor/DirectoryChanges.h"

namespace Quorvel::FileAccess {

WGO_FileCompareInfo::WGO_FileCompareInfo(std::wstring fullPath, const WIN32_FIND_DATAW& old,
                                         const WIN32_FIND_DATAW& current)
    : fileName(std::move(fullPath)), oldData(old), newData(current) {}
bool WGO_FileCompareInfo::AddMetadata(const std::wstring& key, const std::wstring& value) {
  if (key.empty()) return false;
  metadata.insert_or_assign(key, value);
  return true;
}

}  // namespace Quorvel::FileAccess

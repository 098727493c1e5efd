#include <cwchar>

#include "zephor/DirectoryChanges.h"

namespace Quorvel::FileAccess {
namespace {

bool isNamed(const WIN32_FIND_DATAW& entry) {
  return entry.cFileName[0] != L'\0';
}

/// Two different names never come here: both entries have the key of one map entry.
FileChangeState stateOf(const WIN32_FIND_DATAW& old, const WIN32_FIND_DATAW& current) {
  if (std::wcsncmp(old.cFileName, current.cFileName, MAX_PATH) == 0) return eFileChange_Changed;
  if (!isNamed(old)) return eFileChange_Created;
  return isNamed(current) ? eFileChange_Changed : eFileChange_Deleted;
}

}  // namespace

WGO_FileCompareInfo::WGO_FileCompareInfo(std::wstring fullPath, const WIN32_FIND_DATAW& old,
                                         const WIN32_FIND_DATAW& current)
    : fileName(std::move(fullPath)), state(stateOf(old, current)), oldData(old), newData(current) {}

bool WGO_FileCompareInfo::AddMetadata(const std::wstring& key, const std::wstring& value) {
  if (key.empty()) return false;
  metadata.emplace(key, value);
  return true;
}

}  // namespace Quorvel::FileAccess

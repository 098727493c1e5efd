#include "workstation/program/StoredContent.h"

#include <algorithm>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Objects.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/StoreContext.h"
#include "workstation/store/StoreError.h"

namespace workstation::program {

bool isContentStored(const std::wstring& fileName) {
  CloudStatus status = 0;
  std::wstring error;
  const auto store = currentStore(status, error);
  StoredFile stored;
  if (!store || store->findFile(storeActor(), get_ActivePrj().GetOndrathProjectUuid(), fileName, stored) != 0) {
    return false;
  }
  try {
    return !stored.sha256.empty() && sha256OfFile(platform::systemPath(itemPath(fileName))) == stored.sha256;
  } catch (const StoreError&) {
    return false;
  }
}

std::vector<std::wstring> storedNames(const std::vector<std::wstring>& names) {
  std::vector<std::wstring> found;
  CloudStatus status = 0;
  std::wstring error;
  const auto store = names.empty() ? nullptr : currentStore(status, error);
  std::vector<StoredFile> files;
  if (!store || store->files(storeActor(), get_ActivePrj().GetOndrathProjectUuid(), kAllClasses, files) != 0) return {};
  for (StoredFile& file : files) {
    if (std::binary_search(names.begin(), names.end(), platform::toLower(file.name))) {
      found.push_back(std::move(file.name));
    }
  }
  return found;
}

std::wstring lastSaveOf(const std::wstring& fileName) {
  CloudStatus status = 0;
  std::wstring error;
  const auto store = currentStore(status, error);
  StoredFile file;
  if (!store || store->findFile(storeActor(), get_ActivePrj().GetOndrathProjectUuid(), fileName, file) != 0) {
    return L"deleted in the store meanwhile";
  }
  return L"saved meanwhile by " + file.uploaderName + L" at " + storeDateText(file.uploaded) + L" UTC";
}

}  // namespace workstation::program

#include "workstation/program/StoredContent.h"

#include "host/Project.h"
#include "platform/Paths.h"
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

}  // namespace workstation::program

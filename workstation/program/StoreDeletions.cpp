#include "workstation/program/StoreDeletions.h"

#include "host/Project.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/store/CloudStore.h"

namespace workstation::program {

StoreDeletions::StoreDeletions(Context& context) {
  std::vector<StoredFile> deleted;
  const std::wstring project = get_ActivePrj().GetOndrathProjectUuid();
  if (context.store().deletedFiles(context.actor(), project, kAllClasses, deleted) != kStoreOk) {
    throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  }
  for (const StoredFile& file : deleted) revisions_.emplace(platform::toLower(file.name), file.revision);
}

bool StoreDeletions::isTold(const ItemView& view) const {
  const auto found = revisions_.find(platform::toLower(view.fileName));
  if (found == revisions_.end()) return false;
  return hasStoredHeader(view) || !view.base || found->second > std::int64_t{view.base->store.version};
}

}  // namespace workstation::program

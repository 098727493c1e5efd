#include "workstation/program/PushUpload.h"

#include <algorithm>

#include "host/Locking.h"
#include "host/Project.h"
#include "platform/Paths.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/PushItems.h"
#include "workstation/program/Repacking.h"
#include "workstation/program/StoredContent.h"
#include "workstation/store/TransferConditions.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;  // NOLINT(google-build-using-namespace)
using Group = std::vector<PushItem*>;

constexpr int kGroups = 4;

/// Plans refer to Teilbilder, and those to other files; nothing is deleted before all has gone.
int groupOf(const PushItem& item) {
  if (item.isToDelete()) return kGroups - 1;
  const auto& object = item.before.object;
  if (object && object->type == eFileType_Teilbild) return 1;
  return object && object->type == eFileType_Plan ? 2 : 0;
}

WGO_FileCompareInfo changeOf(const ProjectLook& look, const PushItem& item) {
  const std::wstring& found = item.file.path;
  WGO_FileCompareInfo change(!found.empty() ? found : platform::joinPath(look.directory, item.before.fileName),
                             WIN32_FIND_DATAW(), WIN32_FIND_DATAW());
  change.state = item.before.store ? eFileChange_Changed : eFileChange_Created;
  if (item.isToDelete()) change.state = eFileChange_Deleted;
  return change;
}

/// Both sides of a group's items as they are now.
std::vector<ItemView> readGroup(const Group& group) {
  std::vector<ItemName> names;
  for (const PushItem* item : group) names.push_back(item->name());
  return readItems(names);
}

/// Whether the store has all of the group as it was meant to, but for what somebody else saved meanwhile: that is
/// refused.
bool isAllDone(const ProjectLook& look, const Group& group, const Refusal& refuse) {
  const std::vector<ItemView> views = readGroup(group);
  bool isDone = true;
  for (std::size_t i = 0; i < group.size(); ++i) {
    PushItem& item = *group[i];
    const std::wstring& name = item.before.fileName;
    const auto known = transferCondition(look.projectUuid, name);
    if (!known || known->revision == views[i].revision) {
      item.after = views[i].revision;
      item.isGone = item.isDoneBy(views[i]);
      isDone = isDone && item.isGone;
      continue;
    }
    // Sending it again would be refused again.
    if (!item.wasWaiting) removeEntryFromNotUploadedFilesList(name.c_str());
    refuse(item, lastSaveOf(name) + L"; push again");
  }
  return isDone;
}

/// @return false when the groups behind this one have to stay
bool uploadGroup(const ProjectLook& look, const Group& group, const Refusal& refuse) {
  std::vector<TransferCondition> conditions;
  std::vector<WGO_FileCompareInfo> batch;
  for (PushItem* item : group) {
    item->isTried = true;
    item->wasWaiting = existsEntryInNotUploadedFilesList(item->before.fileName.c_str());
    conditions.push_back({item->before.fileName, {}, item->before.revision});
    batch.push_back(changeOf(look, *item));
  }
  const ScopedTransferConditions scope(look.projectUuid, conditions);
  const PRJ project = get_ActivePrj();
  WGO_DirectoryChanges changes;
  changes.init(look.directory.c_str(), nullptr, false);
  // Its answer tells too little: a retry that went well still answers the first try's failure, and a file that was
  // dropped on the way may count as none.
  changes.upload(batch, &project, true);
  return isAllDone(look, group, refuse);
}

}  // namespace

std::wstring prepareToSend(PushItem& item) {
  const auto& object = item.before.object;
  if (object && object->type == eFileType_Teilbild) {
    const Repacked result = repack(itemPath(item.before.fileName), Packing::Compressed, false);
    if (!result.problem.empty()) return L"it can't be compressed: " + result.problem;
  }
  if (object) noteInDatabase(*object);
  item.sent = readLocal(item.name()).here;
  return item.sent == item.before.here ? L"" : L"it is being changed; try again";
}

void uploadItems(const ProjectLook& look, std::vector<PushItem>& items, const Refusal& refuse) {
  for (int number = 0; number < kGroups; ++number) {
    Group group;
    for (PushItem& item : items) {
      if ((item.isToSend() || item.isToDelete()) && groupOf(item) == number) group.push_back(&item);
    }
    if (group.empty()) continue;
    // A question, compressing and the groups before take their time, in which a colleague may have saved.
    const std::vector<ItemView> views = readGroup(group);
    for (std::size_t i = 0; i < group.size(); ++i) {
      group[i]->before.revision = views[i].revision;
      if (views[i].store != group[i]->before.store) refuse(*group[i], L"changed in the store meanwhile; push again");
    }
    std::erase_if(group, [](const PushItem* item) { return !item->isToSend() && !item->isToDelete(); });
    if (!group.empty() && !uploadGroup(look, group, refuse)) return;
  }
}

std::wstring giveBackLock(const PushItem& item) {
  if (!item.before.object) return {};
  const auto& object = *item.before.object;
  IZepFileLockingManager& locks = getFileLockingManager();
  if (!locks.IsLockedByCurrentUser(object.number, object.objectType())) return {};
  const bool isGiven = locks.UnlockObject(object.number, object.objectType(), 0) == 1;
  return isGiven ? L"your lock was given back" : L"you still hold its lock; zephor unlock";
}

}  // namespace workstation::program

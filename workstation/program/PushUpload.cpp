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
constexpr const wchar_t* kBeingChanged = L"it is being changed; try again";

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

/// Why the store has refused an item, and would refuse it again; empty when it is not known to.
/// @param now  both sides after the upload
std::wstring refusalOf(const ProjectLook& look, const PushItem& item, const ItemView& now) {
  const auto known = transferCondition(look.projectUuid, item.before.fileName);
  if (known && known->revision != now.revision) return lastSaveOf(item.before.fileName) + L"; push again";
  if (!item.isToSend() || item.isDoneBy(now)) return {};
  if (item.needsOwnLock()) {
    IZepFileLockingManager& locks = getFileLockingManager();
    const int number = item.before.object->number;
    const int type = item.before.object->objectType();
    FileLockInfo info;
    if (!locks.GetLockInfo(number, type, info)) return L"your lock was taken away; lock it again";
    if (!locks.IsLockedByCurrentUser(number, type)) return L"your lock was taken away; locked by " + holderOf(info);
  }
  return item.source.looksLike(now.file) ? L"" : kBeingChanged;
}

/// Whether the store has all of the group as it was meant to, but for what was changed on a side meanwhile, or lost its
/// lock: that is refused.
bool isAllDone(const ProjectLook& look, const Group& group, const Refusal& refuse) {
  const std::vector<ItemView> views = readGroup(group);
  bool isDone = true;
  for (std::size_t i = 0; i < group.size(); ++i) {
    PushItem& item = *group[i];
    const std::wstring& name = item.before.fileName;
    std::wstring refusal = refusalOf(look, item, views[i]);
    if (refusal.empty()) {
      item.after = views[i].revision;
      item.isGone = item.isDoneBy(views[i]);
      isDone = isDone && item.isGone;
      continue;
    }
    // Sending it again would be refused again.
    if (!item.wasWaiting) removeEntryFromNotUploadedFilesList(name.c_str());
    refuse(item, std::move(refusal));
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
    conditions.push_back({item->before.fileName, item->source, item->before.revision, false, item->needsOwnLock()});
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
  FileContent judged = item.before.file;
  if (object && object->type == eFileType_Teilbild) {
    const Repacked result = repack(itemPath(item.before.fileName), Packing::Compressed, false);
    if (!result.problem.empty()) return L"it can't be compressed: " + result.problem;
    if (result.changed) judged = readLocal(item.name()).file;
  }
  const ItemView now = readLocal(item.name());
  if (object) noteInDatabase(*object);
  item.sent = now.here;
  item.source = now.file;
  // Unchanged over the reading of its header, so that this belongs to the source.
  const bool isStill = judged.looksLike(now.file) && judged.looksLike(readLocal(item.name()).file);
  return isStill && item.sent == item.before.here ? L"" : kBeingChanged;
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

#include "workstation/program/Saving.h"

#include "host/Cloud.h"
#include "host/Files.h"
#include "host/Locking.h"
#include "host/ObjectFiles.h"
#include "host/Project.h"
#include "host/Users.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/Session.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Context.h"
#include "workstation/program/Repacking.h"
#include "workstation/program/SendBarrier.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/StoreStatus.h"
#include "workstation/store/TransferConditions.h"
#include "zephor/Archives.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

namespace {

constexpr int kMostPasses = 5;

/// An upload of the whole item, header included. Something that changes meanwhile is sent again.
/// @return the service's result, and in `sent` what went up
unsigned long sendUnchanged(const ItemView& view, ItemView& sent) {
  unsigned long result = ERROR_GEN_FAILURE;
  sent = readLocal({view.object, view.fileName});
  for (int pass = 0; pass < kMostPasses && sent.here; ++pass) {
    moveConditionHere(get_ActivePrj().GetOndrathProjectUuid(), view.fileName, sent.file);
    if (view.object) {
      noteInDatabase(*view.object);
      result = Quorvel::FileAccess::WGO_CheckLockAndUploadFile(view.object->number, view.object->type);
    } else {
      result = Quorvel::FileAccess::WGO_uploadFile(get_ActivePrj(), view.fileName.c_str(), false);
    }
    ItemView now = readLocal({view.object, view.fileName});
    if (now.here == sent.here && now.file.looksLike(sent.file)) break;
    sent = std::move(now);
  }
  return result;
}

/// How the upload of an item ended.
struct Sending {
  ItemView sent;
  ItemView after;  ///< both sides then
  unsigned long result = ERROR_GEN_FAILURE;
  bool isOvertaken = false;  ///< somebody else saved meanwhile, and the store refused it
  bool isLockLost = false;   ///< somebody took the lock away meanwhile
};

/// Sends an item unless the store has something else by now than what was judged.
Sending sendJudged(const ItemView& view) {
  const std::wstring project = get_ActivePrj().GetOndrathProjectUuid();
  const bool wasWaiting = existsEntryInNotUploadedFilesList(view.fileName.c_str());
  const bool isLocked = isLockedHere(view);
  const ScopedTransferConditions scope(
      project, {{.name = view.fileName, .here = {}, .revision = view.revision, .needsOwnLock = isLocked}});
  Sending sending;
  sending.result = sendUnchanged(view, sending.sent);
  // The store is asked what it has: an upload that went through at a second try still answers the first try's failure,
  // and what changed once more here, or was saved by somebody else meanwhile, must not count as in step.
  sending.after = readItems({{view.object, view.fileName}}).front();
  sending.isOvertaken = transferCondition(project, view.fileName)->revision != sending.after.revision;
  sending.isLockLost = isLocked && !isLockedHere(view);
  // Sending it again would be refused again.
  if ((sending.isOvertaken || sending.isLockLost) && !wasWaiting)
    removeEntryFromNotUploadedFilesList(view.fileName.c_str());
  return sending;
}

std::wstring notSavedReason(const ItemView& view, const Sending& sending) {
  if (sending.isOvertaken) {
    return lastSaveOf(view.fileName) + (sending.after.store ? L"; fetch it, or save --force" : L"; save it again");
  }
  if (sending.isLockLost) return L"your lock was taken away; lock it again";
  return existsEntryInNotUploadedFilesList(view.fileName.c_str())
             ? L"it is in the list of what could not be sent; zephor not-uploaded retry"
             : failureText(sending.result);
}

/// A forced save of an object has to be newer than what the store has, or the others would never fetch it. The store
/// keeps no counter of a Zeichnung.
bool raiseAboveStore(const ItemView& view) {
  if (!view.object || view.object->type == eFileType_Zeichnung) return true;
  const std::uint32_t here = view.here->version;
  const std::uint32_t store = view.store->version;
  if (here != store && here - store < 0x80000000U) return true;
  std::wstring error;
  return touchVersion(objectPath(*view.object), {lzbnum(), identity().user.name}, error, &store) == 0;
}

/// True for a Teilbild that is compressed, and for every one of a compressed project.
bool goesCompressed(const ItemView& view) {
  if (!view.object || view.object->type != eFileType_Teilbild) return false;
  return Quorvel::FileAccess::WGO_isProjectCompressed() ||
         Quorvel::FileAccess::WGO_isZipFile(itemPath(view.fileName).c_str(), nullptr);
}

/// One that can't be compressed goes up as it is, as in the library's own batches.
void compressBeforeSave(const Context& context, const ItemView& view) {
  const Repacked result = repack(itemPath(view.fileName), Packing::Compressed, false);
  if (!result.problem.empty())
    context.output().message(view.label() + L": is sent uncompressed (" + result.problem + L")");
}

/// True for a file that no other workstation has a use for, like the host's own backup copies.
bool isNeverSent(const ItemView& view) {
  if (view.object || view.store) return false;
  Quorvel::FileAccess::WGO_FileFilter filter;
  Quorvel::FileAccess::WGO_GetPrjDirUploadFilter(filter, true);
  return isKeptOut(filter, view.fileName);
}

/// Whether the store has something that a save would go over.
bool isAheadInStore(const ItemView& view) {
  return view.state == ObjectState::NewerInStore || view.state == ObjectState::OlderInStore ||
         view.state == ObjectState::ChangedOnBoth;
}

/// What stands against a save; empty when nothing does.
std::wstring objection(const ItemView& view, bool force) {
  if (isNeverSent(view)) return L"the filter of uploads keeps it out";
  if (view.damagedHere) return L"the file here is damaged";
  if (!view.here) return view.object ? L"there is no such object here" : L"there is no such file here";
  if (view.isUntold() && !force && !isContentStored(view.fileName)) {
    return L"the store has something else, and can't tell its version; save --force replaces it, after a copy";
  }
  return isAheadInStore(view) && !force ? stateReason(view.state) : L"";
}

std::wstring versionText(const ItemView& view) {
  return view.object && view.here ? platform::formatWide(L"version %u", view.here->version) : std::wstring();
}

}  // namespace

void report(const Context& context, const std::wstring& item, const std::wstring& outcome, const std::wstring& detail,
            const ItemView* view) {
  std::vector<Field> fields{{"item", item}, {"outcome", outcome}, {"detail", detail}};
  if (view != nullptr && view->object && view->here) {
    fields.emplace_back("version", static_cast<std::int64_t>(view->here->version));
  }
  context.output().result(item + L": " + outcome + (detail.empty() ? L"" : L" (" + detail + L")"), fields);
}

std::wstring failureText(unsigned long code) {
  if (code == ERROR_SUCCESS || static_cast<CloudStatus>(code) == kStoreChanged)
    return L"it changed here or in the store meanwhile; see zephor status";
  if (static_cast<CloudStatus>(code) == kStoreInUse) return L"it is open in another program";
  if (code == 1 || code == ERROR_INVALID_DATA) return L"refused; what was wrong is told below";
  return platform::formatWide(L"code 0x%lx", code);
}

bool backUpStored(const std::wstring& fileName) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const std::wstring directory =
      lfinigC(1) + platform::formatWide(L"Backup\\store %04d-%02d-%02d %02d.%02d.%02d", now.wYear, now.wMonth, now.wDay,
                                        now.wHour, now.wMinute, now.wSecond);
  SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  // What it is a copy of is about to be replaced.
  return QuorvelCloudController()->GetProjectService()->DownloadFile(get_ActivePrj().GetOndrathProjectUuid(), directory,
                                                                     fileName, L"") == 0 &&
         platform::makeDurable(platform::directoryOf(directory),
                               {platform::joinPath(platform::fileNameOf(directory), fileName)}) == 0;
}

bool backUpHere(const ItemView& view) {
  const std::wstring path = itemPath(view.fileName);
  if (!platform::fileStatus(path).exists) return true;
  return autoBackup::createBackup(path, view.object ? view.object->type : eFileType_Unknown);
}

void saveItem(Context& context, const ItemView& view, bool force, SyncBase& bases, Tally& tally) {
  const std::wstring item = view.label();
  FileLockInfo info;
  IZepFileLockingManager& locks = getFileLockingManager();
  if (view.object && view.here && locks.GetLockInfo(view.object->number, view.object->objectType(), info) &&
      !locks.IsLockedByCurrentUser(view.object->number, view.object->objectType())) {
    report(context, item, L"refused", L"locked by " + holderOf(info));
    return tally.locked();
  }
  if (const std::wstring reason = objection(view, force); !reason.empty()) {
    report(context, item, L"refused", reason);
    return tally.failed();
  }
  if (view.state == ObjectState::InStep) {
    bases.put(view.fileName, {*view.here, *view.store});
    report(context, item, L"in step", L"nothing to save", &view);
    return tally.done();
  }
  if (const SendBarrier barrier = sendBarrier(context); !barrier.reason.empty()) {
    report(context, item, L"refused", barrier.reason);
    return barrier.isLocked ? tally.locked() : tally.failed();
  }
  if (context.options().dryRun) {
    report(context, item, L"would be saved", stateName(view.state), &view);
    return tally.done();
  }
  const bool replaces = isAheadInStore(view);
  if ((replaces || view.isUntold()) && !backUpStored(view.fileName)) {
    report(context, item, L"refused", L"what the store has could not be copied to the backup directory first");
    return tally.failed();
  }
  // Asked before the version is raised, which makes an uncompressed file of a compressed one.
  const bool compressed = goesCompressed(view);
  if (replaces && !raiseAboveStore(view)) {
    report(context, item, L"refused", L"the file here can't be made a newer version");
    return tally.failed();
  }
  if (compressed) compressBeforeSave(context, view);
  const Sending sending = sendJudged(view);
  const auto& [sent, after, result, isOvertaken, isLockLost] = sending;
  if (isOvertaken || !sent.here || !after.same || after.here != sent.here) {
    report(context, item, L"not saved", notSavedReason(view, sending));
    return tally.failed();
  }
  if (result != 0) removeEntryFromNotUploadedFilesList(view.fileName.c_str());
  bases.put(view.fileName, {*sent.here, *after.store});
  report(context, item, L"saved", versionText(sent), &sent);
  if (replaces) context.output().message(item + L": what the store had is in the project's backup directory");
  tally.done();
}

}  // namespace workstation::program

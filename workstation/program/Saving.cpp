#include "workstation/program/Saving.h"

#include "host/Locking.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/SyncBase.h"
#include "zephor/FileServices.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

void report(const Context& context, const std::wstring& item, const std::wstring& outcome, const std::wstring& detail) {
  context.output().result(item + L": " + outcome + (detail.empty() ? L"" : L" (" + detail + L")"),
                          {{"item", item}, {"outcome", outcome}, {"detail", detail}});
}

void saveObject(Context& context, const ObjectView& view, bool force, SyncBase& bases, Tally& tally) {
  const ObjectName& object = view.object;
  const std::wstring item = object.shortName();
  FileLockInfo info;
  const bool locked = getFileLockingManager().GetLockInfo(object.number, object.objectType(), info);
  if (view.damagedHere) {
    report(context, item, L"refused", L"the file here is damaged");
    return tally.failed();
  }
  if (!view.here) {
    report(context, item, L"refused", L"there is no such object here");
    return tally.failed();
  }
  if (locked && !getFileLockingManager().IsLockedByCurrentUser(object.number, object.objectType())) {
    report(context, item, L"refused", L"locked by " + holderOf(info));
    return tally.locked();
  }
  const bool behind = view.state == ObjectState::NewerInStore || view.state == ObjectState::ChangedOnBoth;
  if (behind && !force) {
    report(context, item, L"refused", stateReason(view.state));
    return tally.failed();
  }
  if (view.state == ObjectState::InStep) {
    bases.put(object, *view.here);
    report(context, item, L"in step", L"nothing to save");
    return tally.done();
  }
  if (context.options().dryRun) {
    report(context, item, L"would be saved", stateName(view.state));
    return tally.done();
  }
  noteInDatabase(object);
  const unsigned long result = Quorvel::FileAccess::WGO_CheckLockAndUploadFile(object.number, object.type);
  // An upload that went through at a second try still answers the first try's failure, so the store is asked what it
  // has now.
  if (result != 0 && readObjects({object}).front().state != ObjectState::InStep) {
    const bool waiting = existsEntryInNotUploadedFilesList(object.fileName().c_str());
    report(context, item, L"not saved",
           waiting ? L"it is in the list of what could not be sent; zephor not-uploaded retry"
                   : platform::formatWide(L"code %lu", result));
    return tally.failed();
  }
  if (result != 0) removeEntryFromNotUploadedFilesList(object.fileName().c_str());
  bases.put(object, *view.here);
  report(context, item, L"saved", platform::formatWide(L"version %u", view.here->version));
  tally.done();
}

}  // namespace workstation::program

#include "workstation/program/StdEditing.h"

#include <algorithm>
#include <set>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/StdState.h"
#include "zephor/ResourceContainers.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

constexpr int kNoFlag = 0;
constexpr ChangeWords kSent = {L"created", L"changed", L"deleted"};
constexpr ChangeWords kWouldBeSent = {L"would be created", L"would be changed", L"would be deleted"};
constexpr ChangeWords kUndone = {L"taken away", L"put back", L"put back"};
constexpr ChangeWords kWouldBeUndone = {L"would be taken away", L"would be put back", L"would be put back"};

/// The service gives a lock back without being told of which container: one at a time.
void requireNoOtherHeld(Context& context, const StoreContainer& container) {
  for (const StoreContainer& other : readContainers(context)) {
    if (other.uuid == container.uuid || !isHeldHere(other)) continue;
    throw CommandFailure{ExitCode::Failure, L"you are changing the container " + other.teamName + L"/" + other.name +
                                                L"; commit that first, or roll it back"};
  }
}

/// For a change that was made without `edit`. @return false when somebody else was faster
bool lockToFinish(Context& context, StoreContainer& container) {
  if (isHeldHere(container)) return true;
  if (!container.lock && WGO_LockResourcesContainer(container.uuid, kNoFlag, true)) return true;
  const std::wstring reason = container.lock ? std::wstring() : CloudStore::lastText();
  container = readAgain(context, container);
  if (container.lock) return isHeldHere(container);
  throw CommandFailure{ExitCode::Failure, L"the container " + container.name + L" can't be locked: " + reason};
}

ExitCode finishWithoutChanges(Context& context, const StoreContainer& container) {
  const bool dryRun = context.options().dryRun;
  const bool isHeld = isHeldHere(container);
  if (isHeld && !dryRun && !WGO_UnlockResourcesContainer(false, context.options().quiet))
    throwRefused(container.name + L": nothing is changed here, and the lock can't be given back");
  const wchar_t* const lock = !isHeld ? L"" : dryRun ? L"the lock would be given back" : L"the lock was given back";
  reportContainer(context, container, L"nothing is changed here", lock);
  return ExitCode::Done;
}

/// Changes of both sides can't be joined. Nothing is sent, and the lock stays as it is.
ExitCode refuseConflicts(Context& context, const StoreContainer& container, std::vector<ContainerChange> changes) {
  std::erase_if(changes, [](const ContainerChange& change) { return !change.isInConflict; });
  reportChanges(context, container, changes, {L"not committed", L"not committed", L"not committed"});
  context.output().error(
      L"zephor: nothing was committed. zephor std edit brings what the store has, after a copy of "
      L"what is here, whose place zephor std status tells");
  return ExitCode::PartlyDone;
}

}  // namespace

ExitCode editContainer(Context& context, const std::string& name) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  requireRole(container, StoreRole::Editor);
  requireNoOtherHeld(context, container);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const std::wstring directory = shownCache(container);
  if (context.options().dryRun) {
    reportContainer(context, container, L"would be locked", directory, {{"directory", directory}});
    return ExitCode::Done;
  }
  const bool quiet = context.options().quiet;
  if (!WGO_DownloadAndLockCORForResourceUpload(container.uuid, kNoFlag, quiet)) {
    const CommandFailure refused{ExitCode::Failure, container.name + L" can't be changed: " + CloudStore::lastText()};
    container = readAgain(context, container);
    if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
    throw refused;
  }
  // Somebody may have committed between the download and the lock.
  if (readContainerCache(context, container).isNewerThere &&
      !WGO_DownloadSTDResContainer(container.uuid, kNoFlag, quiet)) {
    throwRefused(container.name + L" is locked, but it is not up to date here");
  }
  reportContainer(context, container, L"locked", directory, {{"directory", directory}});
  context.output().message(L"change the files there, then: zephor std commit, or zephor std rollback");
  return ExitCode::Done;
}

ExitCode commitContainer(Context& context, const std::string& name) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  requireRole(container, StoreRole::Editor);
  requireNoOtherHeld(context, container);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const ContainerCacheState state = readContainerCache(context, container);
  if (state.changes.empty()) return finishWithoutChanges(context, container);
  const auto isInConflict = [](const ContainerChange& change) { return change.isInConflict; };
  if (std::any_of(state.changes.begin(), state.changes.end(), isInConflict))
    return refuseConflicts(context, container, state.changes);
  if (context.options().dryRun) {
    reportChanges(context, container, state.changes, kWouldBeSent);
    return ExitCode::Done;
  }
  if (!lockToFinish(context, container)) return reportLocked(context, container);
  const bool isCommitted = WGO_CommitAndUnlockCOR(container.uuid, kNoFlag, context.options().quiet);
  const std::wstring reason = CloudStore::lastText();
  const StoreContainer now = readAgain(context, container);
  if (!isCommitted && now.revision == container.revision) {
    throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%s was not committed: %s. Your changes stay in %s%s",
                                                                 container.name, reason, shownCache(container),
                                                                 isHeldHere(now) ? L"" : L"; the lock was given back")};
  }
  reportChanges(context, container, state.changes, kSent);
  reportContainer(context, now, L"committed", counted(state.changes.size(), L"file", L"files"),
                  {{"revision", now.revision}});
  if (isCommitted) return ExitCode::Done;
  context.output().error(L"zephor: " + container.name + L" is still locked by you: " + reason);
  return ExitCode::PartlyDone;
}

ExitCode rollBackContainer(Context& context, const std::string& name) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  requireNoOtherHeld(context, container);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const ContainerCacheState before = readContainerCache(context, container);
  if (before.changes.empty()) return finishWithoutChanges(context, container);
  if (context.options().dryRun) {
    reportChanges(context, container, before.changes, kWouldBeUndone);
    return ExitCode::Done;
  }
  if (!lockToFinish(context, container)) return reportLocked(context, container);
  if (!WGO_RollbackAndUnlockCOR(container.uuid, context.options().quiet))
    throwRefused(container.name + L" was not rolled back");
  reportChanges(context, container, before.changes, kUndone);
  const std::set<std::wstring> known(before.keptCopies.begin(), before.keptCopies.end());
  const std::wstring cache = WGO_BuildCloudStdLocalCachePath(container.uuid);
  for (const std::wstring& copy : readContainerCache(context, container).keptCopies) {
    if (known.contains(copy)) continue;
    const std::wstring place = platform::fromUtf8(platform::systemPath(platform::joinPath(cache, copy)));
    context.output().result(L"your change is kept: " + place,
                            {{"container", container.name}, {"outcome", std::wstring(L"kept")}, {"file", place}});
  }
  reportContainer(context, container, L"rolled back", counted(before.changes.size(), L"file", L"files"));
  return ExitCode::Done;
}

ExitCode unlockContainer(Context& context, const std::string& name, bool force) {
  context.startOnline();
  const StoreContainer container = findContainer(context, name);
  if (!container.lock) {
    reportContainer(context, container, L"not locked");
    return ExitCode::Done;
  }
  const bool isHeld = isHeldHere(container);
  const bool dryRun = context.options().dryRun;
  if (isHeld) requireNoOtherHeld(context, container);
  bool mayTake = isHeld;
  if (!isHeld && force && !WGO_CanUnlockCOR(container.uuid, mayTake))
    throwRefused(L"it can't be told whether the lock may be taken away");
  if (!mayTake) {
    context.output().message(force ? L"owners and admins of the team alone may take the lock away"
                                   : L"zephor std unlock --force takes it away, where owners and admins ask for it");
    return reportLocked(context, container);
  }
  const bool isDone = dryRun || (isHeld ? WGO_UnlockResourcesContainer(false, context.options().quiet)
                                        : WGO_ForceUnlockCOR(container.uuid));
  if (!isDone) throwRefused(container.name + L" can't be unlocked");
  reportContainer(context, container, dryRun ? L"would be unlocked" : L"unlocked",
                  isHeld ? std::wstring() : L"it was locked by " + holderOf(container));
  if (const auto changes = readContainerCache(context, container).changes.size(); isHeld && changes > 0) {
    context.output().message(counted(changes, L"change", L"changes") +
                             L" here that were not committed: zephor std commit, or zephor std rollback");
  }
  return ExitCode::Done;
}

}  // namespace workstation::program

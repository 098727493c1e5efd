#include "workstation/program/StdEditing.h"

#include <algorithm>

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

/// One at a time: the service may give a lock back without being told of which container.
void requireNoOtherHeld(Context& context, const StoreContainer& container) {
  for (const StoreContainer& other : readContainers(context)) {
    if (other.uuid == container.uuid || !isHeldHere(other)) continue;
    throw CommandFailure{ExitCode::Failure, L"you are changing the container " + other.teamName + L"/" + other.name +
                                                L"; commit that first, or roll it back"};
  }
}

/// Also where the lock is held: the service is told which container the next calls mean. @return false when somebody
/// else was faster
bool lockToFinish(Context& context, StoreContainer& container) {
  const bool isFree = !container.lock || isHeldHere(container);
  if (isFree && WGO_LockResourcesContainer(container.uuid, kNoFlag, true)) return true;
  const std::wstring reason = CloudStore::lastText();
  container = readAgain(context, container);
  if (container.lock) return isHeldHere(container);
  throw CommandFailure{ExitCode::Failure, L"the container " + container.name + L" can't be locked: " + reason};
}

bool giveLockBack(Context& context, StoreContainer& container) {
  return lockToFinish(context, container) && WGO_UnlockResourcesContainer(false, context.options().quiet);
}

ExitCode finishWithoutChanges(Context& context, StoreContainer container) {
  const bool dryRun = context.options().dryRun;
  const bool isHeld = isHeldHere(container);
  if (isHeld && !dryRun && !giveLockBack(context, container))
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
  const KeptCopies kept(context, container);
  if (!WGO_DownloadAndLockCORForResourceUpload(container.uuid, kNoFlag, quiet)) {
    const CommandFailure refused{ExitCode::Failure, container.name + L" can't be changed: " + CloudStore::lastText()};
    kept.reportNew();
    container = readAgain(context, container);
    if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
    throw refused;
  }
  // Somebody may have committed between the download and the lock.
  if (readContainerCache(context, container).isNewerThere &&
      !WGO_DownloadSTDResContainer(container.uuid, kNoFlag, quiet)) {
    throwRefused(container.name + L" is locked, but it is not up to date here");
  }
  kept.reportNew();
  reportContainer(context, container, L"locked", directory, {{"directory", directory}});
  context.output().message(L"change the files there, then: zephor std commit, or zephor std rollback");
  return ExitCode::Done;
}

ExitCode commitContainer(Context& context, const std::string& name) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  requireRole(container, StoreRole::Editor);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const ContainerCacheState state = readContainerCache(context, container);
  reportObstacles(context, container, state);
  if (!state.obstacles.empty()) {
    context.output().error(L"zephor: nothing was committed, and the lock stays as it is");
    return ExitCode::PartlyDone;
  }
  if (state.changes.empty()) return finishWithoutChanges(context, container);
  const auto isInConflict = [](const ContainerChange& change) { return change.isInConflict; };
  if (std::any_of(state.changes.begin(), state.changes.end(), isInConflict))
    return refuseConflicts(context, container, state.changes);
  if (context.options().dryRun) {
    reportChanges(context, container, state.changes, kWouldBeSent);
    return ExitCode::Done;
  }
  if (!lockToFinish(context, container)) return reportLocked(context, container);
  const bool quiet = context.options().quiet;
  const bool isCommitted = WGO_UploadResourcesContainer(container.uuid, kNoFlag, quiet);
  std::wstring reason = CloudStore::lastText();
  // Nobody else shall wait for one that the store can't take.
  const bool isUnlocked = WGO_UnlockResourcesContainer(false, quiet);
  if (!isCommitted) {
    throw CommandFailure{
        ExitCode::Failure,
        platform::formatWide(L"%s was not committed: %s. Your changes stay in %s, and %s", container.name, reason,
                             shownCache(container), isUnlocked ? L"you hold no lock now" : L"the lock is still yours")};
  }
  if (!isUnlocked) reason = CloudStore::lastText();
  reportChanges(context, container, state.changes, kSent);
  const StoreContainer now = readAgain(context, container);
  reportContainer(context, now, L"committed", counted(state.changes.size(), L"file", L"files"),
                  {{"revision", now.revision}});
  if (isUnlocked) return ExitCode::Done;
  context.output().error(L"zephor: " + container.name + L" is still locked by you: " + reason);
  return ExitCode::PartlyDone;
}

ExitCode rollBackContainer(Context& context, const std::string& name) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  if (container.lock && !isHeldHere(container)) return reportLocked(context, container);
  const ContainerCacheState before = readContainerCache(context, container);
  if (before.changes.empty()) return finishWithoutChanges(context, container);
  if (context.options().dryRun) {
    reportChanges(context, container, before.changes, kWouldBeUndone);
    return ExitCode::Done;
  }
  if (!lockToFinish(context, container)) return reportLocked(context, container);
  const KeptCopies kept(context, container, before);
  const bool isUndone = WGO_RollbackAndUnlockCOR(container.uuid, context.options().quiet);
  const std::wstring reason = CloudStore::lastText();
  kept.reportNew();
  if (!isUndone) throw CommandFailure{ExitCode::Failure, container.name + L" was not rolled back: " + reason};
  reportChanges(context, container, before.changes, kUndone);
  reportContainer(context, container, L"rolled back", counted(before.changes.size(), L"file", L"files"));
  return ExitCode::Done;
}

ExitCode unlockContainer(Context& context, const std::string& name, bool force) {
  context.startOnline();
  StoreContainer container = findContainer(context, name);
  if (!container.lock) {
    reportContainer(context, container, L"not locked");
    return ExitCode::Done;
  }
  const bool isHeld = isHeldHere(container);
  const bool dryRun = context.options().dryRun;
  bool mayTake = isHeld;
  if (!isHeld && force && !WGO_CanUnlockCOR(container.uuid, mayTake))
    throwRefused(L"it can't be told whether the lock may be taken away");
  if (!mayTake) {
    context.output().message(force ? L"owners and admins of the team alone may take the lock away"
                                   : L"zephor std unlock --force takes it away, where owners and admins ask for it");
    return reportLocked(context, container);
  }
  const std::wstring before = isHeld ? std::wstring() : L"it was locked by " + holderOf(container);
  const bool isDone = dryRun || (isHeld ? giveLockBack(context, container) : WGO_ForceUnlockCOR(container.uuid));
  if (!isDone) throwRefused(container.name + L" can't be unlocked");
  reportContainer(context, container, dryRun ? L"would be unlocked" : L"unlocked", before);
  if (const auto changes = readContainerCache(context, container).changes.size(); isHeld && changes > 0) {
    context.output().message(counted(changes, L"change", L"changes") +
                             L" here that were not committed: zephor std commit, or zephor std rollback");
  }
  return ExitCode::Done;
}

}  // namespace workstation::program

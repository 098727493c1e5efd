#include "workstation/program/StdSubscription.h"

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/StdState.h"
#include "workstation/system/StandardResources.h"
#include "zephor/ResourceContainers.h"

namespace workstation::program {

namespace {

using namespace Quorvel::FileAccess;

constexpr int kNoFlag = 0;
constexpr ChangeWords kHere = {L"created here", L"changed here", L"deleted here"};

/// Changes in the container that the workstation has turned away from.
void tellWhatStays(Context& context, const std::wstring& uuid) {
  StoreContainer container;
  ContainerCacheState state;
  if (context.store().container(context.actor(), uuid, container) != kStoreOk ||
      containerCacheState(context.store(), context.actor(), uuid, state) != kStoreOk || state.changes.empty())
    return;
  context.output().message(L"not committed, and staying in " + container.name + L": " +
                           counted(state.changes.size(), L"change", L"changes") + L" (zephor std commit " +
                           container.name + L")");
}

/// The container of the subscription, also one that the store shows this user no more.
StoreContainer subscribed(Context& context, const std::wstring& uuid) {
  StoreContainer container;
  if (context.store().container(context.actor(), uuid, container) == kStoreOk) return container;
  container = {};
  container.uuid = container.name = uuid;
  return container;
}

std::vector<Field> fieldsOf(const StoreContainer& container, const ContainerCacheState& state) {
  std::vector<Field> fields = {{"subscribed", subscribedContainer() == container.uuid},
                               {"directory", shownCache(container)},
                               {"isHere", state.exists},
                               {"revision", state.revision},
                               {"storeRevision", container.revision},
                               {"newerInStore", state.isNewerThere},
                               {"changes", static_cast<std::int64_t>(state.changes.size())},
                               {"obstacles", static_cast<std::int64_t>(state.obstacles.size())},
                               {"keptCopies", static_cast<std::int64_t>(state.keptCopies.size())}};
  Value holder = std::monostate();
  Value workstation = std::monostate();
  Value since = std::monostate();
  if (container.lock) {
    holder = container.lock->holder.name;
    workstation = container.lock->workstationName;
    since = storeDateText(container.lock->since);
  }
  fields.insert(fields.end(), {{"lockedBy", holder}, {"workstation", workstation}, {"since", since}});
  return fields;
}

std::wstring stateText(const StoreContainer& container, const ContainerCacheState& state) {
  std::wstring text = L"not locked";
  if (container.lock) text = isHeldHere(container) ? L"locked by you" : L"locked by " + holderOf(container);
  if (!state.exists && state.changes.empty()) return text + L", not on this workstation";
  text += !state.exists        ? L", not known what was brought here"
          : state.isNewerThere ? L", newer in the store"
                               : L", up to date";
  if (!state.changes.empty()) text += L", " + counted(state.changes.size(), L"change", L"changes") + L" here";
  return text + L", " + shownCache(container);
}

}  // namespace

ExitCode subscribeToContainer(Context& context, const std::string& name) {
  context.startOnline();
  const StoreContainer container = findContainer(context, name);
  const std::wstring before = subscribedContainer();
  const std::wstring directory = shownCache(container);
  if (context.options().dryRun) {
    reportContainer(context, container, L"would be subscribed to", directory, {{"directory", directory}});
    return ExitCode::Done;
  }
  const KeptCopies kept(context, container);
  // First of all: without its content a subscription would leave the workstation with no resources.
  const bool isHere = WGO_DownloadSTDResContainer(container.uuid, kNoFlag, context.options().quiet);
  const std::wstring reason = CloudStore::lastText();
  kept.reportNew();
  if (!isHere) throw CommandFailure{ExitCode::Failure, container.name + L" can't be brought here: " + reason};
  if (before != container.uuid && !WGO_SubscribeCOR(container.uuid))
    throwRefused(container.name + L" can't be subscribed to");
  if (!WGO_SwitchSTDPathsToCORCachePath(container.uuid))
    throw CommandFailure{ExitCode::Failure, L"there is no local data directory for " + container.name};
  reportContainer(context, container, before == container.uuid ? L"up to date" : L"subscribed", directory,
                  {{"directory", directory}});
  if (!before.empty() && before != container.uuid) tellWhatStays(context, before);
  return ExitCode::Done;
}

ExitCode unsubscribeContainer(Context& context, bool force) {
  context.startOnline();
  const std::wstring uuid = subscribedContainer();
  if (uuid.empty()) {
    context.output().result(L"this workstation is subscribed to no container",
                            {{"container", std::monostate()}, {"outcome", std::wstring(L"not subscribed")}});
    return ExitCode::Done;
  }
  const StoreContainer container = subscribed(context, uuid);
  ContainerCacheState state;
  if (containerCacheState(context.store(), context.actor(), uuid, state) != kStoreOk)
    context.output().message(L"what was changed here can't be told: " + CloudStore::lastText());
  if (!state.changes.empty() && !force) {
    reportChanges(context, container, state.changes, kHere);
    context.output().error(
        L"zephor: that was not committed, and nothing was done. Commit it: zephor std commit, or "
        L"leave it in the directory: zephor std unsubscribe --force");
    return ExitCode::PartlyDone;
  }
  const bool dryRun = context.options().dryRun;
  if (!dryRun) {
    if (!WGO_UnsubscribeCOR()) throwRefused(L"the subscription can't be ended");
    useLocalStandardResources();
  }
  const std::wstring directory = shownCache(container);
  reportContainer(context, container, dryRun ? L"would be unsubscribed" : L"unsubscribed", directory + L" stays",
                  {{"directory", directory}});
  if (isHeldHere(container)) context.output().message(L"you still hold its lock: zephor std unlock " + container.name);
  return ExitCode::Done;
}

ExitCode tellContainer(Context& context, const std::string& name) {
  context.startOnline();
  if (name.empty() && subscribedContainer().empty()) {
    context.output().result(L"this workstation is subscribed to no container",
                            {{"container", std::monostate()}, {"subscribed", false}});
    return ExitCode::Done;
  }
  const StoreContainer container = findContainer(context, name);
  const ContainerCacheState state = readContainerCache(context, container);
  reportContainer(context, container, subscribedContainer() == container.uuid ? L"subscribed" : L"not subscribed",
                  stateText(container, state), fieldsOf(container, state));
  reportChanges(context, container, state.changes, kHere);
  reportObstacles(context, container, state);
  reportKept(context, container, state, {}, L"kept copy: ");
  return ExitCode::Done;
}

}  // namespace workstation::program

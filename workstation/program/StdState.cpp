#include "workstation/program/StdState.h"

#include <algorithm>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "zephor/ResourceContainers.h"

namespace workstation::program {

namespace {

bool isCalled(const StoreContainer& container, const std::wstring& text) {
  return platform::equalsIgnoreCase(container.uuid, text) || platform::equalsIgnoreCase(container.name, text) ||
         platform::equalsIgnoreCase(container.teamName + L"/" + container.name, text);
}

const wchar_t* wordOf(const ContainerChange& change, const ChangeWords& words) {
  if (change.change < 0) return words.deleted;
  return change.change == 0 ? words.created : words.changed;
}

}  // namespace

std::vector<StoreContainer> readContainers(Context& context) {
  std::vector<StoreContainer> containers;
  check(context.store().containers(context.actor(), containers));
  return containers;
}

StoreContainer findContainer(Context& context, const std::string& argument) {
  const std::wstring wanted = argument.empty() ? subscribedContainer() : wide(argument);
  if (wanted.empty()) {
    throw CommandFailure{ExitCode::Failure,
                         L"this workstation is subscribed to no container; name one (zephor std list)"};
  }
  const auto missing = [&] {
    if (!argument.empty()) return CommandFailure{ExitCode::Failure, L"your teams have no container " + wanted};
    StoreContainer gone;
    gone.uuid = wanted;
    return CommandFailure{ExitCode::Failure,
                          L"the container that this workstation is subscribed to was deleted, or you "
                          L"are no member of its team any more. Its directory stays: " +
                              shownCache(gone) + L"; zephor std unsubscribe ends the subscription"};
  };
  std::vector<StoreContainer> hits;
  for (StoreContainer& container : readContainers(context)) {
    if (isCalled(container, wanted)) hits.push_back(std::move(container));
  }
  if (hits.size() == 1) return hits.front();
  if (hits.empty()) throw missing();
  throw CommandFailure{ExitCode::Failure, L"several containers are called " + wanted +
                                              L"; name it TEAM/NAME or by its UUID (zephor std list)"};
}

StoreContainer readAgain(Context& context, const StoreContainer& container) {
  StoreContainer now;
  check(context.store().container(context.actor(), container.uuid, now));
  return now;
}

ContainerCacheState readContainerCache(Context& context, const StoreContainer& container) {
  ContainerCacheState state;
  check(containerCacheState(context.store(), context.actor(), container.uuid, state));
  return state;
}

std::wstring shownCache(const StoreContainer& container) {
  return platform::fromUtf8(platform::systemPath(Quorvel::FileAccess::WGO_BuildCloudStdLocalCachePath(container.uuid)));
}

bool isHeldHere(const StoreContainer& container) {
  return container.lock && container.lock->holder.uuid == identity().user.uuid &&
         container.lock->workstationId == identity().workstationId;
}

std::wstring holderOf(const StoreContainer& container) {
  if (!container.lock) return {};
  return container.lock->holder.name + L" at " + container.lock->workstationName + L" since " +
         storeDateText(container.lock->since) + L" UTC";
}

void requireRole(const StoreContainer& container, StoreRole weakest) {
  if (container.role != StoreRole::None && container.role <= weakest) return;
  throw CommandFailure{ExitCode::Failure, L"your role in the team " + container.teamName + L", " +
                                              roleName(container.role) + L", does not allow that for the container " +
                                              container.name};
}

void reportContainer(const Context& context, const StoreContainer& container, const std::wstring& outcome,
                     const std::wstring& detail, const std::vector<Field>& more) {
  std::vector<Field> fields = {{"container", container.name},
                               {"team", container.teamName},
                               {"uuid", container.uuid},
                               {"outcome", outcome},
                               {"detail", detail}};
  fields.insert(fields.end(), more.begin(), more.end());
  context.output().result(container.name + L": " + outcome + (detail.empty() ? L"" : L", " + detail), fields);
}

ExitCode reportLocked(const Context& context, const StoreContainer& container) {
  const bool isOwn = container.lock->holder.uuid == identity().user.uuid;
  reportContainer(context, container, isOwn ? L"locked elsewhere" : L"locked by someone else", holderOf(container),
                  {{"lockedBy", container.lock->holder.name},
                   {"workstation", container.lock->workstationName},
                   {"since", storeDateText(container.lock->since)}});
  if (isOwn) {
    context.output().message(
        L"commit or roll back there; zephor std unlock --force takes your own lock away from here, too");
  }
  return ExitCode::LockedByOther;
}

void reportChanges(const Context& context, const StoreContainer& container, const std::vector<ContainerChange>& changes,
                   const ChangeWords& words) {
  for (const ContainerChange& change : changes) {
    const std::wstring outcome = wordOf(change, words);
    const std::wstring detail = change.isInConflict ? L"changed in the store, too" : L"";
    context.output().result(change.name + L": " + outcome + (detail.empty() ? L"" : L", " + detail),
                            {{"container", container.name},
                             {"file", change.name},
                             {"outcome", outcome},
                             {"conflict", change.isInConflict}});
  }
}

void reportObstacles(const Context& context, const StoreContainer& container, const ContainerCacheState& state) {
  for (const std::wstring& obstacle : state.obstacles) {
    context.output().result(
        L"can't be committed: " + obstacle,
        {{"container", container.name}, {"outcome", std::wstring(L"can't be committed")}, {"detail", obstacle}});
  }
}

void reportKept(const Context& context, const StoreContainer& container, const ContainerCacheState& state,
                const std::vector<std::wstring>& known, const std::wstring& begin) {
  const std::wstring cache = Quorvel::FileAccess::WGO_BuildCloudStdLocalCachePath(container.uuid);
  for (const std::wstring& copy : state.keptCopies) {
    if (std::find(known.begin(), known.end(), copy) != known.end()) continue;
    const std::wstring place = platform::fromUtf8(platform::systemPath(platform::joinPath(cache, copy)));
    context.output().result(begin + place,
                            {{"container", container.name}, {"outcome", std::wstring(L"kept")}, {"file", place}});
  }
}

void KeptCopies::reportNew() const {
  ContainerCacheState now;
  if (containerCacheState(context_.store(), context_.actor(), container_.uuid, now) != kStoreOk) return;
  reportKept(context_, container_, now, known_, L"your change is kept: ");
}

void throwRefused(const std::wstring& begin) {
  const std::wstring reason = CloudStore::lastText();
  throw CommandFailure{ExitCode::Failure, reason.empty() ? begin : begin + L": " + reason};
}

}  // namespace workstation::program

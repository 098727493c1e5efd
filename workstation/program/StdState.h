// Resource containers as the commands of `std` see them: by name, with their lock and their cache here.
#pragma once

#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Output.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/Containers.h"

namespace workstation::program {

class Context;

std::vector<StoreContainer> readContainers(Context& context);
/// By UUID, name or "team/name", names in any letter case; empty: the one that this workstation is subscribed to.
/// Throws CommandFailure when there is none, or several.
StoreContainer findContainer(Context& context, const std::string& argument);
/// As it is now. Throws CommandFailure.
StoreContainer readAgain(Context& context, const StoreContainer& container);
/// Throws CommandFailure when store or cache can't be read.
ContainerCacheState readContainerCache(Context& context, const StoreContainer& container);

/// Path of the system of the container's cache, to show.
std::wstring shownCache(const StoreContainer& container);
/// Whether this user holds the lock, from this workstation.
bool isHeldHere(const StoreContainer& container);
/// "anna at anna-pc since 21.11.2026 18:04:05 UTC"; empty without a lock.
std::wstring holderOf(const StoreContainer& container);
/// Whether the user may change it. Throws CommandFailure otherwise.
void requireRole(const StoreContainer& container, StoreRole weakest);

/// One result: "Styles: locked (detail)".
void reportContainer(const Context& context, const StoreContainer& container, const std::wstring& outcome,
                     const std::wstring& detail = {}, const std::vector<Field>& more = {});
/// Tells who has the lock. @return LockedByOther
ExitCode reportLocked(const Context& context, const StoreContainer& container);

/// What happened to a created, changed and deleted file of a cache.
struct ChangeWords {
  const wchar_t* created;
  const wchar_t* changed;
  const wchar_t* deleted;
};
/// A result for each.
void reportChanges(const Context& context, const StoreContainer& container, const std::vector<ContainerChange>& changes,
                   const ChangeWords& words);

/// What stands in the way of a commit.
void reportObstacles(const Context& context, const StoreContainer& container, const ContainerCacheState& state);
/// A result for each kept copy but the `known` ones.
void reportKept(const Context& context, const StoreContainer& container, const ContainerCacheState& state,
                const std::vector<std::wstring>& known, const std::wstring& begin);

/// The copies of changes that a command finds; what it adds to them is told where it ends.
class KeptCopies {
 public:
  KeptCopies(Context& context, const StoreContainer& container)
      : KeptCopies(context, container, readContainerCache(context, container)) {}
  KeptCopies(Context& context, const StoreContainer& container, const ContainerCacheState& before)
      : context_(context), container_(container), known_(before.keptCopies) {}
  void reportNew() const;

 private:
  Context& context_;
  const StoreContainer container_;
  const std::vector<std::wstring> known_;
};

/// Why the service refused what this thread asked for last, as a failure to throw.
[[noreturn]] void throwRefused(const std::wstring& begin);

}  // namespace workstation::program

// project lock|unlock|locks|in-use: the lock of a whole project, and whether somebody has it open.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "host/Project.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/People.h"
#include "workstation/store/CloudStore.h"
#include "zephor/ProjectInformation.h"

namespace workstation::program {

namespace {

struct LockKind {
  OndrathProjectLockType type;
  const char* name;
  const wchar_t* wideName;
};
constexpr LockKind kKinds[] = {{eOndrathProjectLock_Read, "read", L"read"},
                               {eOndrathProjectLock_Write, "write", L"write"},
                               {eOndrathProjectLock_Exclusive, "exclusive", L"exclusive"}};

OndrathProjectLockType kindOf(const std::string& name) {
  const auto* found =
      std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& kind) { return name == kind.name; });
  return found == std::end(kKinds) ? eOndrathProjectLock_None : found->type;
}

std::wstring kindName(int type) {
  const auto* found =
      std::find_if(std::begin(kKinds), std::end(kKinds), [=](const auto& kind) { return type == kind.type; });
  return found == std::end(kKinds) ? L"-" : found->wideName;
}

bool isOwn(const LockUser& lock) {
  return lock.uuid == identity().user.uuid && lock.workstation == identity().workstationName;
}

/// Read locks stand beside each other and beside a write lock.
bool standsInTheWay(const LockUser& lock, OndrathProjectLockType wanted) {
  const int stronger = std::max(lock.kind, static_cast<int>(wanted));
  const int weaker = std::min(lock.kind, static_cast<int>(wanted));
  return !isOwn(lock) && (stronger == eOndrathProjectLock_Exclusive || weaker == eOndrathProjectLock_Write);
}

std::vector<LockUser> locksOf(const PRJ& project) {
  std::vector<LockUser> locks;
  if (Quorvel::FileAccess::WGO_getProjectLocks(project, locks)) return locks;
  throw CommandFailure{ExitCode::Failure, L"the locks of " + project.GetProjectDisplayName() + L" can't be read: " +
                                              CloudStore::lastText()};
}

void report(const Context& context, const PRJ& project, const wchar_t* outcome, const std::wstring& detail) {
  const std::wstring name = project.GetProjectDisplayName();
  context.output().result(name + L": " + outcome + (detail.empty() ? L"" : L" " + detail),
                          {{"project", name}, {"outcome", std::wstring(outcome)}, {"detail", detail}});
}

ExitCode reportHolder(const Context& context, const PRJ& project, const LockUser& holder) {
  report(context, project, L"locked by", holder.name + L" at " + holder.workstation);
  return ExitCode::LockedByOther;
}

ExitCode lock(Context& context, const std::string& kindArgument) {
  context.startInProject();
  const PRJ project = get_ActivePrj();
  const OndrathProjectLockType wanted = kindOf(kindArgument);
  const bool dryRun = context.options().dryRun;
  const CloudStatus status = dryRun ? kStoreOk : Quorvel::FileAccess::WGO_setProjectLock(project, wanted);
  if (dryRun || status == kStoreLocked) {
    const std::vector<LockUser> locks = locksOf(project);
    const auto holder =
        std::find_if(locks.begin(), locks.end(), [&](const LockUser& held) { return standsInTheWay(held, wanted); });
    if (holder != locks.end()) return reportHolder(context, project, *holder);
  }
  if (status == kStoreLocked) throw CommandFailure{ExitCode::LockedByOther, CloudStore::lastText()};
  check(status);
  report(context, project, dryRun ? L"would be locked" : L"locked", L"(" + kindName(wanted) + L")");
  return ExitCode::Done;
}

ExitCode unlock(Context& context, bool all) {
  context.startInProject();
  const PRJ project = get_ActivePrj();
  const std::vector<LockUser> locks = locksOf(project);
  if (locks.empty()) {
    report(context, project, L"not locked", L"");
    return ExitCode::Done;
  }
  if (!all && std::none_of(locks.begin(), locks.end(), isOwn)) return reportHolder(context, project, locks.front());
  const bool dryRun = context.options().dryRun;
  if (!dryRun && !Quorvel::FileAccess::WGO_removeProjectLock(project, all)) {
    throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  }
  report(context, project, dryRun ? L"would be unlocked" : L"unlocked", L"");
  return ExitCode::Done;
}

ExitCode listLocks(Context& context) {
  context.startInProject();
  Table table({{"user", L"LOCKED BY"},
               {"email", L"E-MAIL"},
               {"workstation", L"WORKSTATION"},
               {"kind", L"KIND"},
               {"since", L"SINCE (UTC)"}});
  for (const LockUser& held : locksOf(get_ActivePrj())) {
    table.row({held.name, held.email, held.workstation, kindName(held.kind), held.time});
  }
  table.print(context.output());
  return ExitCode::Done;
}

/// Who else has the project open, and where: "anna at anna-pc, carl at attic".
std::wstring othersInside(Context& context, const PRJ& project) {
  const std::wstring uuid = project.GetOndrathProjectUuid();
  std::vector<OpenSession> sessions;
  std::vector<StoreMember> members;
  check(context.store().openSessions(context.actor(), uuid, sessions));
  check(context.store().members(context.actor(), uuid, members));
  std::wstring others;
  for (const OpenSession& session : sessions) {
    if (session.userUuid == identity().user.uuid) continue;
    const auto member = std::find_if(members.begin(), members.end(), [&](const StoreMember& candidate) {
      return candidate.user.uuid == session.userUuid;
    });
    const std::wstring name = member == members.end() ? L"a former member" : member->user.name;
    others += (others.empty() ? L"" : L", ") + name + L" at " + session.workstationName;
  }
  return others;
}

ExitCode tellInUse(Context& context) {
  context.startInProject();
  const PRJ project = get_ActivePrj();
  const bool byOthers = Quorvel::FileAccess::WGO_isProjectInUse(project, true);
  const bool inUse = byOthers || Quorvel::FileAccess::WGO_isProjectInUse(project, false);
  const std::wstring others = othersInside(context, project);
  const std::wstring name = project.GetProjectDisplayName();
  std::wstring text = name + L": not open anywhere else";
  if (inUse) text = name + L": open, by " + (byOthers ? L"others: " + others : L"you in another session");
  context.output().result(text, {{"project", name}, {"inUse", inUse}, {"byOthers", byOthers}, {"others", others}});
  return ExitCode::Done;
}

}  // namespace

void addProjectLockCommands(CLI::App& app, Action& selected) {
  struct Arguments {
    std::string kind = "write";
    bool all = false;
  };
  auto arguments = std::make_shared<Arguments>();
  CLI::App* project = app.get_subcommand("project");

  auto* lockCommand = project->add_subcommand("lock", "Lock the whole project: nobody else saves or deletes");
  lockCommand->add_option("--kind", arguments->kind)
      ->check(CLI::IsMember({"read", "write", "exclusive"}))
      ->capture_default_str();
  lockCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return lock(context, arguments->kind); }; });
  auto* unlockCommand = project->add_subcommand("unlock", "Give the project's lock back");
  unlockCommand->add_flag("--all", arguments->all, "Everybody's locks; owners and admins may");
  unlockCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return unlock(context, arguments->all); }; });
  project->add_subcommand("locks", "List who holds the project")->callback([&selected] { selected = listLocks; });
  project->add_subcommand("in-use", "Tell whether another session has the project open")->callback([&selected] {
    selected = tellInUse;
  });
}

}  // namespace workstation::program

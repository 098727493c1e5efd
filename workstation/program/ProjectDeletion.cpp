// project delete: a project goes for everybody. The store keeps it out of sight for a while, the directory here goes to
// the trash.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/CacheTrash.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/LeavingProject.h"
#include "workstation/program/People.h"
#include "workstation/program/Saving.h"
#include "workstation/store/CloudStore.h"
#include "zephor/ProjectInformation.h"

namespace workstation::program {

namespace {

constexpr std::int64_t kUsualDays = 30;

/// What goes, and where.
struct Loss {
  StoreProject project;
  std::size_t files = 0;  ///< in the store
  std::int64_t days = 0;  ///< that it keeps them
  std::vector<ObjectLock> foreignLocks;
  bool isHere = false;
  CacheContent here;
};

StoreProject findOwnProject(Context& context, const std::wstring& name) {
  std::wstring uuid;
  std::wstring error;
  if (!findProjectUuid(name, uuid, error)) throw CommandFailure{ExitCode::Failure, error};
  StoreProject project;
  check(context.store().project(context.actor(), uuid, project));
  if (project.role > StoreRole::Admin)
    throw CommandFailure{ExitCode::Failure, L"only the owner and administrators of " + project.name +
                                                L" may delete it; you are " + roleName(project.role)};
  return project;
}

/// Before this process opens it.
void refuseOpenElsewhere(Context& context, const StoreProject& project) {
  std::vector<OpenSession> sessions;
  std::vector<StoreMember> members;
  check(context.store().openSessions(context.actor(), project.uuid, sessions));
  if (sessions.empty()) return;
  check(context.store().members(context.actor(), project.uuid, members));
  std::wstring who;
  for (const OpenSession& session : sessions) {
    const auto member = std::find_if(members.begin(), members.end(), [&](const StoreMember& candidate) {
      return candidate.user.uuid == session.userUuid;
    });
    who += (who.empty() ? L"" : L", ") +
           (member == members.end() ? std::wstring(L"a former member") : member->user.name) + L" at " +
           session.workstationName;
  }
  throw CommandFailure{ExitCode::LockedByOther, project.name + L" is open: " + who + L"; nothing was deleted"};
}

bool isForeign(const StoreActor& actor, const ObjectLock& lock) {
  return !platform::equalsIgnoreCase(lock.holder.uuid, actor.user.uuid) ||
         !platform::equalsIgnoreCase(lock.workstationId, actor.workstationId);
}

void readStore(Context& context, Loss& loss) {
  std::vector<StoredFile> files;
  check(context.store().files(context.actor(), loss.project.uuid, kAllClasses, files));
  loss.files = files.size();
  loss.days = context.store().setting("deleted_project_days", kUsualDays);
  check(context.store().locks(context.actor(), loss.project.uuid, loss.foreignLocks));
  std::erase_if(loss.foreignLocks, [&](const ObjectLock& lock) { return !isForeign(context.actor(), lock); });
}

void tellLoss(const Context& context, const Loss& loss) {
  if (loss.isHere) reportUnsent(context, loss.here);
  for (const ObjectLock& lock : loss.foreignLocks)
    report(context, nameOf(lock), L"locked",
           L"by " + lock.holder.name + L" at " + lock.workstationName + L", who may have work on it that was not sent");
}

std::wstring placesOf(const Loss& loss, bool isDone) {
  std::wstring text = platform::formatWide(L"the store keeps its %s out of everybody's sight for %lld days",
                                           counted(loss.files, L"file", L"files"), static_cast<long long>(loss.days));
  if (!loss.isHere) return text + L"; nothing of it is on this workstation";
  text += L"; " + shownDirectory(loss.here) + (isDone ? L" is in the trash, with " : L" goes to the trash, with ") +
          counted(loss.here.files, L"file", L"files");
  if (!loss.here.unsent.empty())
    text += L", " + std::to_wstring(loss.here.unsent.size()) + L" of them not in the store";
  return text;
}

bool isAgreed(const Loss& loss, const std::wstring& places) {
  const std::wstring question =
      L"Delete the project " + loss.project.teamName + L"/" + loss.project.name + L" for everybody? (" + places + L")";
  return agrees(question);
}

void reportDeletion(const Context& context, const Loss& loss, const wchar_t* outcome, const std::wstring& places) {
  context.output().result(loss.project.name + L": " + outcome + L"; " + places,
                          {{"project", loss.project.name},
                           {"team", loss.project.teamName},
                           {"uuid", loss.project.uuid},
                           {"outcome", std::wstring(outcome)},
                           {"files", static_cast<std::int64_t>(loss.files)},
                           {"days", loss.days},
                           {"directory", loss.isHere ? Value(shownDirectory(loss.here)) : Value(std::monostate())},
                           {"unsent", static_cast<std::int64_t>(loss.here.unsent.size())}});
}

/// First there: when the store refuses, nothing here has changed.
void deleteEverywhere(Context& context, const Loss& loss) {
  const StoreProject& project = loss.project;
  const PRJ prj(project.teamUuid, project.teamName, project.name, project.uuid, true);
  if (Quorvel::FileAccess::WGO_isProjectInUse(prj, false))
    throw CommandFailure{ExitCode::LockedByOther, project.name + L" was opened meanwhile; nothing was deleted"};
  check(context.store().deleteProject(context.actor(), project.uuid));
  std::wstring error;
  try {
    if (loss.isHere) takeAway(project.uuid, loss.here, false);
    if (forgetProject(project.uuid, error)) return;
  } catch (const CommandFailure& failure) {
    error = failure.message;
  }
  throw CommandFailure{
      ExitCode::PartlyDone,
      platform::formatWide(L"%s is deleted in the store, but not all went here: %s; zephor --project %s "
                           L"cache remove takes the directory away",
                           project.name, error, project.uuid)};
}

ExitCode deleteProject(Context& context, const std::wstring& name, bool force) {
  context.startOnline();
  Loss loss;
  loss.project = findOwnProject(context, name);
  refuseOpenElsewhere(context, loss.project);
  readStore(context, loss);
  std::wstring directory;
  loss.isHere =
      make_prj_dir(PRJ({}, {}, {}, loss.project.uuid, true), directory) == 0 && platform::fileStatus(directory).exists;
  std::unique_ptr<ProjectGuard> guard;
  std::shared_ptr<void> alone;
  if (loss.isHere) {
    const LeftProject left = openToLeave(context, loss.project.uuid);
    guard = context.tryGuardProject();
    std::wstring error = L"another zephor is changing this project on this workstation";
    if (guard != nullptr) alone = takeProjectAlone(error);
    if (alone == nullptr) throw CommandFailure{ExitCode::LockedByOther, error};
    loss.here = readCache(context, left.hasStore);
    refuseLink(loss.here);
  }
  tellLoss(context, loss);
  const std::wstring places = placesOf(loss, false);
  if (context.options().dryRun) {
    reportDeletion(context, loss, L"would be deleted", places);
    return ExitCode::Done;
  }
  if (!force && !isAgreed(loss, places)) {
    reportDeletion(context, loss, L"kept", L"nobody said yes, --yes or --force does");
    return ExitCode::Failure;
  }
  deleteEverywhere(context, loss);
  reportDeletion(context, loss, L"deleted", placesOf(loss, true));
  return ExitCode::Done;
}

}  // namespace

void addProjectDeletion(CLI::App& app, Action& selected) {
  auto* command = app.get_subcommand("project")->add_subcommand("delete", "Delete a project for everybody");
  struct Arguments {
    std::string name;
    bool force = false;
  };
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PROJECT", arguments->name, "Name, team/name, or UUID")->required();
  command->add_flag("--force", arguments->force, "Do not ask, whatever was never sent");
  command->callback([&selected, arguments] {
    selected = [arguments](Context& context) {
      return deleteProject(context, wide(arguments->name), arguments->force);
    };
  });
}

}  // namespace workstation::program

#include "workstation/program/ProjectFromFolder.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "host/Locking.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/Session.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/People.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/PushRun.h"
#include "workstation/program/Saving.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

constexpr const char* kInformation = "Project1.Dat.xml";
constexpr const char* kSharedPlace = "Link4/Resource";

/// What a directory has for a new project.
struct Supply {
  fs::path root;
  std::vector<std::wstring> names;
  std::vector<std::wstring> left;  ///< that are no files
};

Supply supplyOf(const std::string& folder) {
  Supply supply;
  supply.root = absolutePath(folder);
  if (fs::exists(supply.root / kSharedPlace / kInformation)) supply.root /= kSharedPlace;
  if (!fs::exists(supply.root / kInformation))
    throw CommandFailure{ExitCode::Failure,
                         wide(folder) + L" holds no project: expected a directory with Project1.Dat.xml"};
  std::error_code error;
  for (fs::recursive_directory_iterator entry(supply.root, error), end; !error && entry != end;
       entry.increment(error)) {
    const fs::file_type type = entry->symlink_status(error).type();
    if (type == fs::file_type::directory) continue;
    const std::wstring name = nameInCache(entry->path().lexically_relative(supply.root).generic_string());
    // The user's rules are a project's, though every workstation begins with its own.
    const bool isRules = platform::equalsIgnoreCase(name, L"WGO_SyncFilter.xml");
    if (isOwnInCache(name) && !isRules) continue;
    (type == fs::file_type::regular ? supply.names : supply.left).push_back(name);
  }
  if (error) throw CommandFailure{ExitCode::Failure, wide(folder) + L" can't be read: " + wide(error.message())};
  std::sort(supply.names.begin(), supply.names.end());
  return supply;
}

/// UUID of the new project, or of one that an interrupted run has made.
std::wstring makeProject(Context& context, const StoreTeam& team, const std::wstring& name) {
  std::vector<StoreProject> projects;
  check(context.store().projects(context.actor(), team.uuid, false, projects));
  for (const StoreProject& project : projects) {
    if (project.name != name || project.role != StoreRole::Owner) continue;
    std::vector<StoredFile> files;
    check(context.store().files(context.actor(), project.uuid, kAllClasses, files));
    if (files.empty()) return project.uuid;
    throw CommandFailure{
        ExitCode::Failure,
        platform::formatWide(L"the team %s has a project %s with files already; to go on with one that "
                             L"was being made: zephor open %s, zephor lock for what is only here, zephor "
                             L"push, and zephor unlock for what is still locked",
                             team.name, name, name)};
  }
  std::wstring uuid;
  check(context.store().createProject(context.actor(), team.uuid, name, uuid));
  return uuid;
}

bool isSameFile(const std::wstring& first, const std::wstring& second) {
  const platform::FileStatus one = platform::fileStatus(first);
  const platform::FileStatus other = platform::fileStatus(second);
  return one.exists && other.exists && one.size == other.size &&
         platform::toTicks(one.writeTime) == platform::toTicks(other.writeTime);
}

/// A file that an interrupted run has copied stays; so does anything else that is there.
void copyIn(const Context& context, const Supply& supply, Tally& tally) {
  const std::wstring from = platform::libraryPath(supply.root.string());
  const std::wstring to = get_ActPrjPath();
  for (const std::wstring& name : supply.names) {
    const std::wstring source = platform::joinPath(from, name);
    const std::wstring target = platform::joinPath(to, name);
    SHCreateDirectoryExW(nullptr, platform::directoryOf(target).c_str(), nullptr);
    if (CopyFileW(source.c_str(), target.c_str(), TRUE) != FALSE) continue;
    const DWORD error = GetLastError();
    if (isSameFile(source, target)) continue;
    report(context, name, L"not copied", platform::formatWide(L"error %u", error));
    tally.failed();
  }
  for (const std::wstring& name : supply.left) {
    report(context, name, L"not copied", L"is no file");
    tally.failed();
  }
}

/// The locks of what goes only with one, given back at the end. What can't be locked is told by the push.
class NewLocks {
 public:
  NewLocks() {
    for (const ItemView& view : readObjects()) {
      if (!view.object || view.object->type == eFileType_Zeichnung || !view.here) continue;
      if (getFileLockingManager().LockObject(view.object->number, view.object->objectType(), 0) == 1)
        locked_.push_back(*view.object);
    }
  }
  ~NewLocks() {
    for (const ObjectName& object : locked_)
      getFileLockingManager().UnlockObject(object.number, object.objectType(), 0);
  }
  NewLocks(const NewLocks&) = delete;
  NewLocks& operator=(const NewLocks&) = delete;

 private:
  std::vector<ObjectName> locked_;
};

}  // namespace

ExitCode createProjectFrom(Context& context, const StoreTeam& team, const std::wstring& name,
                           const std::string& folder) {
  const Supply supply = supplyOf(folder);
  const bool isDone = !context.options().dryRun;
  const std::wstring uuid = isDone ? makeProject(context, team, name) : std::wstring();
  context.output().result((isDone ? L"made the project " : L"would make the project ") + name + L" in the team " +
                              team.name + L" with " + counted(supply.names.size(), L"file", L"files") + L" of " +
                              wide(folder),
                          {{"project", name},
                           {"team", team.name},
                           {"uuid", uuid},
                           {"files", static_cast<std::int64_t>(supply.names.size())}});
  if (!isDone) return ExitCode::Done;
  std::wstring error;
  if (!openProject(uuid, error)) throw CommandFailure{ExitCode::Failure, error};
  const ProjectGuard guard = context.guardProject();
  Tally tally;
  copyIn(context, supply, tally);
  Context::enterProject();
  loadFreshCache(context);
  const NotUploadedList waiting;
  const NewLocks locks;
  const ExitCode sent = pushChanges(context);
  if (sent != ExitCode::Done) return sent;
  return tally.failedCount() == 0 ? ExitCode::Done : ExitCode::PartlyDone;
}

}  // namespace workstation::program

#include "services/UserList.h"

#include <algorithm>
#include <optional>

#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/ProjectInformation.h"
#include "host/Files.h"
#include "host/System.h"
#include "platform/Text.h"
#include "services/UserReconciliation.h"
#include "zephor/ProjectInformation.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_InitWorkgroup";
/// Where the host looks for the users of a project.
constexpr const wchar_t* kUserFolder = L"Net";
constexpr int kBitsOfContainer = 32;

using Users = std::vector<QuorvelUser>;

/// The project's folder of user data with the files in it.
struct UserFolder {
  std::wstring project;
  std::wstring directory;
  std::wstring list;
  std::wstring old;  ///< the list before, while a new one is written
};

/// One run: who asks, and the members when they had to be asked for.
struct Run {
  CloudUser self;
  bool isAdmin = false;
  bool isMissingOnServer = false;
  bool takesAllMembers = false;
  std::vector<CloudProjectMember> members;
};

bool isThere(const std::wstring& file) {
  return CDirectoryUtility::GetFileSize(file) > 0;
}

bool readSelf(CloudUser& self) {
  bool isSignedIn = false;
  guardedCall(kFunction, [&] {
    CloudUser record;
    const CloudUser* user = QuorvelCloudController()->GetProjectService()->GetCurrentUser(record);
    isSignedIn = user != nullptr && !user->uuid.empty();
    if (isSignedIn) self = *user;
    return CloudStatus{0};
  });
  if (!isSignedIn) lfperrC(L"%s: nobody is signed in\n", kFunction);
  return isSignedIn;
}

std::optional<UserFolder> makeUserFolder(const PRJ& prj) {
  UserFolder folder;
  int error = make_prj_dir(prj, folder.project);
  if (error == 0) {
    folder.directory = folder.project;
    lfslash_cat(folder.directory);
    folder.directory += kUserFolder;
    error = ldirmkc(folder.directory);
  }
  if (error != 0) {
    lfperrC(L"%s: the user folder of %s can't be made: error %d\n", kFunction, prj.GetProjectDisplayName(), error);
    return std::nullopt;
  }
  lfslash_cat(folder.directory);
  folder.list = folder.directory + L"user.cfg";
  folder.old = folder.list + L".old";
  const std::wstring data = folder.directory + L"data.cfg";
  int handle = 0;
  if (CDirectoryUtility::GetFileSize(data) < 0 && lfilopC(data, 2, handle) == 0) lfilclC(handle);
  return folder;
}

/// Brings the list where this workstation has none. A server that can't tell whether it has one may well have it: a
/// list made here instead would give everybody other numbers.
/// @return false when the server has one that did not come
bool fetchList(const PRJ& prj, const UserFolder& folder, Run& run) {
  bool onServer = false;
  const bool isTold = Ondrath_existsFile(prj, folder.list, onServer) == 0;
  run.isMissingOnServer = isTold && !onServer;
  if (isThere(folder.list)) return true;
  if (!run.isMissingOnServer) return isTold && Ondrath_downloadFile(prj, folder.list, false) == 0;
  // A run that ended between moving the list aside and writing the new one.
  if (isThere(folder.old)) lfilmvC(folder.old, folder.list);
  return true;
}

std::optional<Users> readList(const UserFolder& folder) {
  Users users;
  if (!isThere(folder.list) || lzReadAllUsers_fromPath_toVector(folder.directory, users) != 0) return std::nullopt;
  Users distinct;
  for (const QuorvelUser& user : users) {
    const auto isSame = [&](const QuorvelUser& other) { return other.number == user.number; };
    if (std::find_if(distinct.begin(), distinct.end(), isSame) == distinct.end()) distinct.push_back(user);
  }
  return distinct;
}

/// The list, none where there is none. A local copy that can't be read counts as missing, and the server's takes its
/// place: it keeps the numbers by which everybody knows everybody.
/// @return false when the server's list did not come
bool loadList(const PRJ& prj, const UserFolder& folder, Run& run, std::optional<Users>& users) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (!fetchList(prj, folder, run)) return false;
    users = readList(folder);
    if (users) return true;
    lfilrmC(folder.list);
  }
  return true;
}

std::optional<ReconciledUsers> reconcile(const PRJ& prj, const std::optional<Users>& before, Run& run) {
  run.takesAllMembers = run.isAdmin || !before;
  if (!run.takesAllMembers) return reconcileOwnEntry(*before, run.self);
  if (!Ondrath_getProjectUsers(prj, run.members) || run.members.empty()) {
    lfperrC(L"%s: the members of %s can't be read\n", kFunction, prj.GetProjectDisplayName());
    return std::nullopt;
  }
  return reconcileMembers(before.value_or(Users()), run.members);
}

void noteUsers(const Users& users, const Run& run, PRJ& prj) {
  if (run.takesAllMembers) {
    noteRoles(users, run.members, prj);
  } else {
    noteMember(users, run.self, prj);
  }
}

bool mayShare(const Run& run, const PRJ& prj) {
  return run.isAdmin || WGO_IsCurrentUserEditor(prj);
}

/// A list that the server does not have, or that a run left here which ended before it was sent.
bool isUnsent(const UserFolder& folder, const Run& run) {
  return run.isMissingOnServer || isThere(folder.old);
}

/// Writes the list and shares it with the server where the user may. What fails brings the list before back, so that
/// the next run tries again; a first list that only could not be sent stays.
/// @return false when the list before is the one that counts
bool replaceList(const UserFolder& folder, const Users& users, const Run& run, const PRJ& prj) {
  const bool hasOld = isThere(folder.list);
  if (hasOld && lfilmvC(folder.list, folder.old) != 0) {
    lfperrC(L"%s: \"%s\" can't be moved aside\n", kFunction, folder.list);
    return false;
  }
  bool isReplaced = lzWriteAllUsers_fromVector_to_Path(users, folder.directory) == 0;
  if (isReplaced && mayShare(run, prj) && !Ondrath_uploadFile(prj, folder.list) && hasOld) isReplaced = false;
  if (!isReplaced && hasOld && lfilmvC(folder.old, folder.list) != 0) {
    lfperrC(L"%s: \"%s\" can't be moved back\n", kFunction, folder.old);
    return false;
  }
  if (isReplaced && isThere(folder.old)) lfilrmC(folder.old);
  return isReplaced;
}

/// Brings the roles into the descriptor on the disk. What else it says stays: the caller's is older than the refresh
/// that brought it.
void writeRoles(const UserFolder& folder, const Users& users, const Run& run, const PRJ& prj) {
  PRJ before;
  const bool isRead = NetID_ReadPrjInfoByPath(folder.project, before) == 0;
  PRJ after = isRead ? before : prj;
  noteUsers(users, run, after);
  const bool isSame = after.owner == before.owner && after.additionalAdmins == before.additionalAdmins &&
                      after.memberSet == before.memberSet;
  if (isRead && isSame) return;
  if (NetID_WritePrjInfoByPath(folder.project, after, 1) != 0) {
    lfperrC(L"%s: the descriptor in \"%s\" can't be written\n", kFunction, folder.project);
  }
}

void logResult(const PRJ& prj) {
  if (getFileAccessTrace() == 0) return;
  lfperrC(L"%s:\n", prj.GetOndrathProjectUuid());
  lfperrC(L"\tPrjOwner: %3.3d\n", prj.owner);
  std::wstring admins = L"\tPrjAdditionalAdmins:";
  for (const std::int32_t number : prj.additionalAdmins) admins += platform::formatWide(L"%3.3d", number);
  lfperrText(admins + L"\n");
  std::wstring members = L"\tPrjMemberList:";
  const int most = lzuGetCountOfUserContainers() * kBitsOfContainer;
  for (int number = 1; number <= most; ++number) {
    if (prj.isMember(static_cast<unsigned>(number - 1))) members += platform::formatWide(L"%3.3d", number);
  }
  lfperrText(members + L"\n");
}

}  // namespace

bool Ondrath_InitWorkgroup(PRJ& prj) {
  if (!prj.IsOndrathProject()) return false;
  Run run;
  if (!readSelf(run.self)) return false;
  run.isAdmin = WGO_IsCurrentUserAdmin(prj);
  QuorvelUser current;
  lz_GetCurrentUserInfo(current);

  const std::optional<UserFolder> folder = makeUserFolder(prj);
  std::optional<Users> before;
  if (!folder || !loadList(prj, *folder, run, before)) return false;
  const std::optional<ReconciledUsers> after = reconcile(prj, before, run);
  if (!after) return false;
  const bool isDue = after->changed || (isUnsent(*folder, run) && mayShare(run, prj));
  const bool isReplaced = isDue && replaceList(*folder, after->users, run, prj);
  // Left by a run that ended in between: this user's list goes to nobody, and the one that is here is whole.
  if (!isDue && before && isThere(folder->old)) lfilrmC(folder->old);
  const Users counting = isReplaced ? after->users : before.value_or(Users());
  noteUsers(counting, run, prj);
  if (isReplaced || (run.takesAllMembers && before)) writeRoles(*folder, counting, run, prj);

  const bool isLoaded = lz_uInitRAW(folder->directory, current);
  logResult(prj);
  return isLoaded;
}

}  // namespace Quorvel::FileAccess

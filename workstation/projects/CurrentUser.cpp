#include "workstation/projects/CurrentUser.h"

#include <algorithm>
#include <optional>

#include "host/Project.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/projects/ProjectNames.h"
#include "workstation/store/StoreContext.h"

using workstation::textOf;

namespace workstation {
namespace {

constexpr int kNobodyKnown = 1;
constexpr int kOwnerNumber = 2;
/// A list counts upwards from the owner; what is higher is none of its numbers.
constexpr int kBeyondLists = 900'000'000;

/// Users of a project as the library loaded them; empty when it loaded those of another one.
std::vector<QuorvelUser> loadedUsers(const std::wstring& projectDirectory) {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  const bool isSame = platform::startsWithIgnoreCase(state.userDirectory, projectDirectory + L"\\");
  return isSame ? state.users : std::vector<QuorvelUser>();
}

/// The list in a project's directory; the project services keep it in "Net".
std::vector<QuorvelUser> usersOnDisk(const std::wstring& projectDirectory) {
  std::vector<QuorvelUser> users;
  for (const std::wstring& place : {platform::joinPath(projectDirectory, L"Net"), projectDirectory}) {
    if (!platform::fileStatus(platform::joinPath(place, kUserFile)).exists) continue;
    lzReadAllUsers_fromPath_toVector(place, users);
    break;
  }
  return users;
}

std::shared_ptr<CloudStore> storeOf(const PRJ& prj) {
  if (!prj.IsOndrathProject() || hostState().storeDirectory.empty()) return nullptr;
  CloudStatus status = 0;
  std::wstring error;
  return currentStore(status, error);
}

const QuorvelUser* findByUuid(const std::vector<QuorvelUser>& users, const std::wstring& uuid) {
  const auto found = std::find_if(users.begin(), users.end(), [&uuid](const QuorvelUser& user) {
    return !uuid.empty() && platform::equalsIgnoreCase(textOf(user.uuid), uuid);
  });
  return found == users.end() ? nullptr : &*found;
}

}  // namespace

std::vector<QuorvelUser> projectUsers(const PRJ& prj) {
  const std::wstring directory = prj.directoryName[0] != L'\0' ? prj.GetFullProjectPath(true) : std::wstring();
  if (directory.empty()) return {};
  std::vector<QuorvelUser> users = loadedUsers(directory);
  return users.empty() ? usersOnDisk(directory) : users;
}

std::optional<int> numberIn(const std::vector<QuorvelUser>& users, const std::wstring& uuid) {
  const QuorvelUser* user = findByUuid(users, uuid);
  return user != nullptr ? std::optional<int>(user->number) : std::nullopt;
}

int numberOf(const std::vector<QuorvelUser>& users, const std::wstring& uuid, int storeNumber) {
  if (const QuorvelUser* user = findByUuid(users, uuid)) return user->number;
  const bool isFree =
      std::none_of(users.begin(), users.end(), [=](const QuorvelUser& user) { return user.number == storeNumber; });
  if (users.empty() || (isFree && storeNumber == kOwnerNumber)) return storeNumber;
  int highest = kOwnerNumber;
  for (const QuorvelUser& user : users) {
    if (user.number < kBeyondLists) highest = std::max(highest, user.number);
  }
  const bool isSelf = platform::equalsIgnoreCase(uuid, hostState().identity.user.uuid);
  return highest + 1 + (isSelf ? 0 : storeNumber);
}

int currentUserNumber(const PRJ& prj) {
  const std::wstring uuid = hostState().identity.user.uuid;
  const std::vector<QuorvelUser> users = projectUsers(prj);
  if (const QuorvelUser* user = findByUuid(users, uuid)) return user->number;
  const std::shared_ptr<CloudStore> store = storeOf(prj);
  const int number = store != nullptr ? store->memberNumber(prj.GetOndrathProjectUuid(), uuid) : 0;
  return number > 0 ? numberOf(users, uuid, number) : kNobodyKnown;
}

}  // namespace workstation

int lzbnum() {
  return workstation::currentUserNumber(get_ActivePrj());
}

std::wstring lzbext() {
  return platform::formatWide(L"u%03d", lzbnum());
}

int lzuGetCountOfUserContainers() {
  // Room for 1024 users.
  return 32;
}

int lz_GetCurrentUserInfo(QuorvelUser& out) {
  const PRJ prj = get_ActivePrj();
  const CloudUser& user = workstation::hostState().identity.user;
  const std::vector<QuorvelUser> users = workstation::projectUsers(prj);
  if (const QuorvelUser* known = workstation::findByUuid(users, user.uuid)) {
    out = *known;
    return 0;
  }
  out = QuorvelUser{};
  out.number = workstation::currentUserNumber(prj);
  const bool isCloud = prj.IsOndrathProject();
  workstation::copyText(out.loginName, isCloud ? platform::formatWide(L"_BIM_%03u", out.number) : user.name);
  workstation::copyText(out.hostName, L"localhost");
  workstation::copyText(out.lastName, user.name);
  workstation::copyText(out.email, user.email);
  workstation::copyText(out.uuid, user.uuid);
  return 0;
}

std::wstring lz_GetUserNameFromUserId(int number) {
  const PRJ prj = get_ActivePrj();
  const std::vector<QuorvelUser> users = workstation::projectUsers(prj);
  const auto known =
      std::find_if(users.begin(), users.end(), [number](const QuorvelUser& user) { return user.number == number; });
  if (known != users.end()) {
    const std::wstring first = textOf(known->firstName);
    const std::wstring last = textOf(known->lastName);
    if (!first.empty() && !last.empty()) return first + L" " + last;
    if (!first.empty() || !last.empty()) return first + last;
  }
  // Cloud members have no name in the list; the store knows what they are called, by numbers of its own.
  if (const std::shared_ptr<workstation::CloudStore> store = workstation::storeOf(prj)) {
    CloudUser user;
    if (known != users.end()) {
      store->findUser(textOf(known->uuid), user);
    } else if (users.empty()) {
      user = store->memberByNumber(prj.GetOndrathProjectUuid(), number);
    }
    if (!user.uuid.empty() && !user.name.empty()) return user.name;
  }
  if (known == users.end()) return platform::formatWide(L"#%d", number);
  return known->email[0] != L'\0' ? textOf(known->email) : textOf(known->loginName);
}

bool lz_uInitRAW(const std::wstring& directory, const QuorvelUser& /*current*/) {
  std::vector<QuorvelUser> users;
  if (lzReadAllUsers_fromPath_toVector(directory, users) != 0) return false;
  workstation::HostState& state = workstation::hostState();
  const std::lock_guard guard(state.mutex);
  state.users = std::move(users);
  state.userDirectory = platform::joinPath(directory, L"");
  return true;
}

#include "services/UserReconciliation.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "host/Project.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kOwnerRole = 1;
constexpr int kAdminRole = 2;
constexpr std::int32_t kOwnerNumber = 2;

template <std::size_t Size>
std::wstring cut(const std::wstring& text, const wchar_t (&/*target*/)[Size]) {
  return text.substr(0, Size - 1);
}

/// Takes what fits. @return true when the target was another text before
template <std::size_t Size>
bool setText(wchar_t (&target)[Size], const std::wstring& text) {
  const std::wstring fitting = cut(text, target);
  if (fitting == target) return false;
  std::fill(std::begin(target), std::end(target), L'\0');
  std::copy(fitting.begin(), fitting.end(), target);
  return true;
}

bool isOf(const QuorvelUser& user, const std::wstring& uuid) {
  return user.number >= kOwnerNumber && !uuid.empty() && platform::equalsIgnoreCase(user.uuid, cut(uuid, user.uuid));
}

bool isHostsOwn(const QuorvelUser& user) {
  return user.number < kOwnerNumber && user.uuid[0] == L'\0';
}

bool hasNumber(const std::vector<QuorvelUser>& users, std::int32_t number) {
  return std::any_of(users.begin(), users.end(), [=](const QuorvelUser& user) { return user.number == number; });
}

/// Behind the highest number; where a list leaves no room there, the lowest free one.
std::int32_t nextNumber(const std::vector<QuorvelUser>& users) {
  std::int32_t highest = kOwnerNumber;
  for (const QuorvelUser& user : users) highest = std::max(highest, user.number);
  if (highest < INT32_MAX) return highest + 1;
  std::int32_t free = kOwnerNumber + 1;
  while (hasNumber(users, free)) ++free;
  return free;
}

/// An answer without an e-mail tells nothing about it: the one that is known stays.
bool setEmail(QuorvelUser& user, const std::wstring& email) {
  return !email.empty() && setText(user.email, email);
}

/// @return true when something was another text before
bool setMember(QuorvelUser& user, const std::wstring& uuid, const std::wstring& email) {
  bool changed = setText(user.loginName, platform::formatWide(L"_BIM_%03u", user.number));
  changed = setText(user.hostName, L"localhost") || changed;
  changed = setEmail(user, email) || changed;
  return setText(user.uuid, uuid) || changed;
}

QuorvelUser newMember(std::int32_t number, const std::wstring& uuid, const std::wstring& email) {
  QuorvelUser user;
  user.number = number;
  setMember(user, uuid, email);
  return user;
}

const CloudProjectMember* memberOf(const std::vector<CloudProjectMember>& members, const QuorvelUser& user) {
  const auto found = std::find_if(members.begin(), members.end(),
                                  [&](const CloudProjectMember& member) { return isOf(user, member.uuid); });
  return found == members.end() ? nullptr : &*found;
}

bool isListed(const std::vector<QuorvelUser>& users, const std::wstring& uuid) {
  return std::any_of(users.begin(), users.end(), [&](const QuorvelUser& user) { return isOf(user, uuid); });
}

unsigned memberBit(const QuorvelUser& user) {
  return static_cast<unsigned>(user.number - 1);
}

}  // namespace

ReconciledUsers reconcileMembers(const std::vector<QuorvelUser>& before,
                                 const std::vector<CloudProjectMember>& members) {
  ReconciledUsers after;
  for (const QuorvelUser& user : before) {
    const CloudProjectMember* member = memberOf(members, user);
    if (member != nullptr && !isListed(after.users, member->uuid)) {
      after.users.push_back(user);
      after.changed = setMember(after.users.back(), member->uuid, member->email) || after.changed;
    } else if (isHostsOwn(user)) {
      after.users.push_back(user);
    }
  }
  after.changed = after.changed || after.users.size() != before.size();

  // Numbers of those who dropped out count: nobody gets one in the same step.
  std::vector<QuorvelUser> numbered = before;
  for (const CloudProjectMember& member : members) {
    if (member.uuid.empty() || isListed(after.users, member.uuid)) continue;
    const bool takesOwnerNumber = member.role == kOwnerRole && !hasNumber(numbered, kOwnerNumber);
    const std::int32_t number = takesOwnerNumber ? kOwnerNumber : nextNumber(numbered);
    after.users.push_back(newMember(number, member.uuid, member.email));
    numbered.push_back(after.users.back());
    after.changed = true;
  }
  return after;
}

ReconciledUsers reconcileOwnEntry(const std::vector<QuorvelUser>& before, const CloudUser& self) {
  ReconciledUsers after{before, false};
  if (!isListed(before, self.uuid)) {
    after.users.push_back(newMember(nextNumber(before), self.uuid, self.email));
    after.changed = true;
    return after;
  }
  for (QuorvelUser& user : after.users) {
    if (isOf(user, self.uuid)) after.changed = setEmail(user, self.email) || after.changed;
  }
  return after;
}

void noteRoles(const std::vector<QuorvelUser>& users, const std::vector<CloudProjectMember>& members, PRJ& prj) {
  prj.additionalAdmins.clear();
  prj.memberSet.clear();
  for (const QuorvelUser& user : users) {
    const CloudProjectMember* member = memberOf(members, user);
    if (member == nullptr) continue;
    if (member->role == kOwnerRole) {
      prj.owner = user.number;
    } else if (member->role == kAdminRole) {
      prj.additionalAdmins.push_back(user.number);
    } else {
      prj.setMember(memberBit(user));
    }
  }
}

void noteMember(const std::vector<QuorvelUser>& users, const CloudUser& self, PRJ& prj) {
  for (const QuorvelUser& user : users) {
    if (isOf(user, self.uuid)) prj.setMember(memberBit(user));
  }
}

}  // namespace Quorvel::FileAccess

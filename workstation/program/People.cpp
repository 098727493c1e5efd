#include "workstation/program/People.h"

#include "platform/Text.h"
#include "workstation/program/Context.h"

namespace workstation::program {

std::wstring roleName(StoreRole role) {
  switch (role) {
    case StoreRole::Owner:
      return L"owner";
    case StoreRole::Admin:
      return L"admin";
    case StoreRole::Editor:
      return L"editor";
    case StoreRole::Viewer:
      return L"viewer";
    case StoreRole::None:
      break;
  }
  return L"-";
}

StoreRole roleOf(const std::string& name) {
  for (const StoreRole role : {StoreRole::Owner, StoreRole::Admin, StoreRole::Editor, StoreRole::Viewer}) {
    if (platform::toUtf8(roleName(role)) == name) return role;
  }
  return StoreRole::None;
}

StoreTeam findTeam(Context& context, const std::wstring& nameOrUuid) {
  std::vector<StoreTeam> teams;
  check(context.store().teams(context.actor(), teams));
  std::vector<StoreTeam> hits;
  for (const auto& team : teams) {
    if (team.uuid == nameOrUuid || team.name == nameOrUuid) hits.push_back(team);
  }
  if (hits.size() == 1) return hits.front();
  if (hits.empty()) throw CommandFailure{ExitCode::Failure, L"you are in no team " + nameOrUuid};
  throw CommandFailure{ExitCode::Failure,
                       L"several teams are called " + nameOrUuid + L"; name it by its UUID (zephor team list)"};
}

void printMembers(const Context& context, const std::vector<StoreMember>& members) {
  Table table({{"name", L"NAME"}, {"email", L"E-MAIL"}, {"role", L"ROLE"}});
  for (const auto& member : members) table.row({member.user.name, member.user.email, roleName(member.role)});
  table.print(context.output());
}

void reportMember(const Context& context, const std::wstring& person, const std::wstring& group,
                  const std::wstring& role) {
  const bool dry = context.options().dryRun;
  std::wstring text;
  if (role.empty()) {
    text = (dry ? L"would take " : L"took ") + person + L" out of " + group;
  } else {
    text = person + (dry ? L" would be " : L" is now ") + role + L" in " + group;
  }
  context.output().result(text, {{"member", person}, {"group", group}, {"role", role}});
}

void check(CloudStatus status) {
  if (status != kStoreOk) throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
}

}  // namespace workstation::program

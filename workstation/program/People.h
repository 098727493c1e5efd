// What the commands about teams and projects share: roles by name, teams by name, members as a table, failures of the
// store.
#pragma once

#include <string>
#include <vector>

#include "workstation/store/CloudStore.h"

namespace workstation::program {

class Context;

std::wstring roleName(StoreRole role);
StoreRole roleOf(const std::string& name);
/// By UUID or by name. Throws CommandFailure when there is none, or several.
StoreTeam findTeam(Context& context, const std::wstring& nameOrUuid);
void printMembers(const Context& context, const std::vector<StoreMember>& members);
/// One result line for an added (role given) or removed member.
void reportMember(const Context& context, const std::wstring& person, const std::wstring& group,
                  const std::wstring& role);
/// Throws CommandFailure with the store's text for a status that is not 0.
void check(CloudStatus status);

}  // namespace workstation::program

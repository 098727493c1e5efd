// Who works here and in a project, by the small numbers that the project knows them by.
//
// The project's user list counts before the store: the two may number people differently.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Users.h"
#include "workstation/Export.h"

class PRJ;

namespace workstation {

/// Number of this workstation's user in a project, see numberOf; 1 when neither list nor store knows them.
int currentUserNumber(const PRJ& prj);

/// The project's user list, as it was loaded or as it lies in its directory; empty when there is none.
WORKSTATION_API std::vector<QuorvelUser> projectUsers(const PRJ& prj);
/// Number of the person in a list.
WORKSTATION_API std::optional<int> numberIn(const std::vector<QuorvelUser>& users, const std::wstring& uuid);
/// Number of a member whom the store numbers `storeNumber`. Without a list that is it. Whom a list lacks gets none that
/// it gives to somebody else: this workstation's user the one that the list will give next.
int numberOf(const std::vector<QuorvelUser>& users, const std::wstring& uuid, int storeNumber);

}  // namespace workstation

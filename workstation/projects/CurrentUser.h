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

/// Number of this workstation's user in a project: from its user list, otherwise from the store; 1 when neither knows.
int currentUserNumber(const PRJ& prj);

/// The project's user list, as it was loaded or as it lies in its directory; empty when there is none.
WORKSTATION_API std::vector<QuorvelUser> projectUsers(const PRJ& prj);
/// Number of the person in a list.
WORKSTATION_API std::optional<int> numberIn(const std::vector<QuorvelUser>& users, const std::wstring& uuid);

}  // namespace workstation

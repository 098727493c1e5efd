// Who works here, by the small number that a project knows them by.
#pragma once

class PRJ;

namespace workstation {

/// Number of this workstation's user in a project: from its user list, otherwise from the store; 1 when neither knows.
int currentUserNumber(const PRJ& prj);

}  // namespace workstation

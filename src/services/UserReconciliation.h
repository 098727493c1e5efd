// The decision behind a cloud project's user list: what it was, who is a member, what it becomes. Pure: reads nothing,
// writes nothing.
//
// Numbers are what locks and headers name a person by, so a known member keeps the number for good. 2 is the owner's,
// the others count from 3; numbers below 2 are the host's own.
#pragma once

#include <vector>

#include "host/Cloud.h"
#include "host/Users.h"

class PRJ;

namespace Quorvel::FileAccess {

struct ReconciledUsers {
  std::vector<QuorvelUser> users;
  bool changed = false;  ///< somebody came, went, or has other data than before
};

/// The list of all members, as an administrator keeps it. Known members keep their order and what else the list says
/// of them, new ones follow; entries of people who are no members drop out, the host's own (without UUID) stay.
ReconciledUsers reconcileMembers(const std::vector<QuorvelUser>& before,
                                 const std::vector<CloudProjectMember>& members);

/// The list as anybody else keeps it: only the own entry is mended or added.
ReconciledUsers reconcileOwnEntry(const std::vector<QuorvelUser>& before, const CloudUser& self);

/// Puts the numbers of owner, additional administrators and members into the descriptor, in place of those before.
void noteRoles(const std::vector<QuorvelUser>& users, const std::vector<CloudProjectMember>& members, PRJ& prj);

/// Sets the member bit of one user, and no more.
void noteMember(const std::vector<QuorvelUser>& users, const CloudUser& self, PRJ& prj);

}  // namespace Quorvel::FileAccess

// The user list of a cloud project on this workstation.
#pragma once

class PRJ;

namespace Quorvel::FileAccess {

/// Brings the project's "user.cfg" in line with the members in the cloud, numbers owner, administrators and members in
/// the descriptor, and loads the list into the host. An administrator writes the whole list; anybody else only adds or
/// mends the own entry. A list that can't be written leaves the old one.
bool Ondrath_InitWorkgroup(PRJ& prj);

}  // namespace Quorvel::FileAccess

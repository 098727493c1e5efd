// The user list of a cloud project on this workstation.
#pragma once

class PRJ;

namespace Quorvel::FileAccess {

/// Brings the project's "user.cfg" in line with the members in the cloud, numbers owner, administrators and members in
/// `prj` and in the descriptor on the disk, and loads the list into the host. An administrator writes the whole list;
/// anybody else only adds or mends the own entry. A list that can't be written, or sent where that is allowed, leaves
/// the old one; what the service does not tell, or tells in part, changes nothing.
/// @return false when server, members or list can't be read
bool Ondrath_InitWorkgroup(PRJ& prj);

}  // namespace Quorvel::FileAccess

// Deletion of everything below a directory.
#pragma once

#include <string>

namespace Quorvel::FileAccess {

class FtpLister;
class FtpSession;

/// Goes on after a failure. The session is prepared and its current directory known; it is the same afterwards.
/// @return true when nothing is left
bool deleteBelowCurrent(FtpSession& session, FtpLister& lister);

}  // namespace Quorvel::FileAccess

// A plain directory that acts like a server: the same operations with the same results.
//
// Paths are library paths in which `/` separates as well. An uploaded file becomes visible whole and takes the time of
// its arrival, as on a server. Names that leave the current directory ("..") are refused.
#pragma once

#include <memory>

#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

std::unique_ptr<IRemoteClient> makeDirectoryClient();

}  // namespace Quorvel::FileAccess

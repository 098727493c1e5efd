// Makes the clients of a session: an FTP client with its properties set, or one of a plain directory.
#pragma once

#include <functional>
#include <memory>

#include "toolkit/RemoteClient.h"

class CServerProperties;

namespace Quorvel::FileAccess {

class CkFtp2W;
class RemoteConfiguration;

using RemoteClientMaker = std::function<std::unique_ptr<IRemoteClient>(const RemoteConfiguration&)>;

/// A client that is ready to connect; without a host name that of a plain directory.
std::unique_ptr<IRemoteClient> makeRemoteClient(const RemoteConfiguration& configuration);

/// The client of a connection check: five seconds to connect, no read time-out.
/// @param epsvMode  stands before that of the properties
std::unique_ptr<CkFtp2W> makeCheckClient(const CServerProperties& properties, int epsvMode);

}  // namespace Quorvel::FileAccess

// What a connection needs to know: one record for all threads. It changes only when the manager is initialised.
#pragma once

#include <cstdint>
#include <string>

class CServerProperties;

namespace Quorvel::FileAccess {

enum class RemoteConnectionType : std::int32_t { NotSet = 0, Ftp = 1, FtpExplicitTls = 2, Ftps = 3 };

struct RemoteConfiguration {
  std::wstring hostName;
  std::wstring userName;
  std::wstring password;
  std::int32_t epsvMode = 2;  ///< 0 off, 1 on, 2 the client's choice
  std::int32_t readTimeoutSeconds = 0;
  std::int32_t connectTimeoutSeconds = 0;
  RemoteConnectionType connectionType = RemoteConnectionType::NotSet;
  bool reconnectRequired = false;  ///< the next thread that asks for its connection connects anew
  bool featuresRead = false;
  std::int64_t bytesTransferred = 0;  ///< of the last transfer
  std::wstring currentDirectory;

  /// Takes a server's properties over. Limits are cut to whole seconds.
  /// @return true when the host name is another one than before
  bool take(const CServerProperties& properties);
};

/// NotSet for a protocol other than "FTP" and "FTPS".
RemoteConnectionType connectionTypeOf(const std::wstring& protocol, bool explicitTls);

}  // namespace Quorvel::FileAccess

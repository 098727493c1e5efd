#include "ftp/RemoteConfiguration.h"

#include "host/System.h"

namespace Quorvel::FileAccess {

RemoteConnectionType connectionTypeOf(const std::wstring& protocol, bool explicitTls) {
  if (protocol == L"FTP") return explicitTls ? RemoteConnectionType::FtpExplicitTls : RemoteConnectionType::Ftp;
  if (protocol == L"FTPS") return RemoteConnectionType::Ftps;
  return RemoteConnectionType::NotSet;
}

bool RemoteConfiguration::take(const CServerProperties& properties) {
  constexpr int kMillisecondsPerSecond = 1000;
  const bool hostChanged = properties.hostName != hostName;
  hostName = properties.hostName;
  userName = properties.userName;
  password = properties.password;
  trustedCertificates = properties.certificateFile;
  connectionType = connectionTypeOf(properties.protocol, properties.explicitTls);
  readTimeoutSeconds = properties.readLimitMilliseconds / kMillisecondsPerSecond;
  connectTimeoutSeconds = properties.connectLimitMilliseconds / kMillisecondsPerSecond;
  epsvMode = properties.epsvMode;
  return hostChanged;
}

}  // namespace Quorvel::FileAccess

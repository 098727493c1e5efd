#include "ftp/RemoteClients.h"

#include "ftp/RemoteConfiguration.h"
#include "host/System.h"
#include "toolkit/DirectoryClient.h"
#include "toolkit/Ftp2W.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::int32_t kFtpPort = 21;
constexpr std::int32_t kFtpsPort = 990;
constexpr int kClientsChoice = 2;

void setEpsv(CkFtp2W& client, int mode) {
  if (mode < 0 || mode >= kClientsChoice) return;
  client.put_AutoFeat(false);
  client.put_UseEpsv(mode == 1);
}

void setSecurity(CkFtp2W& client, RemoteConnectionType type) {
  switch (type) {
    case RemoteConnectionType::Ftp:
      client.put_Port(kFtpPort);
      break;
    case RemoteConnectionType::FtpExplicitTls:
      client.put_Port(kFtpPort);
      client.put_AuthTls(true);
      client.put_Ssl(false);
      break;
    case RemoteConnectionType::Ftps:
      client.put_Port(kFtpsPort);
      client.put_AuthTls(false);
      client.put_Ssl(true);
      break;
    case RemoteConnectionType::NotSet:
    default:
      break;
  }
}

}  // namespace

std::unique_ptr<IRemoteClient> makeRemoteClient(const RemoteConfiguration& configuration) {
  if (configuration.hostName.empty()) return makeDirectoryClient();
  auto client = std::make_unique<CkFtp2W>();
  client->put_Hostname(configuration.hostName.c_str());
  client->put_Username(configuration.userName.c_str());
  client->put_Password(configuration.password.c_str());
  setEpsv(*client, configuration.epsvMode);
  client->put_Passive(true);
  client->put_ReadTimeout(configuration.readTimeoutSeconds);
  client->put_ConnectTimeout(configuration.connectTimeoutSeconds);
  client->put_DirListingCharset(L"utf-8");
  setSecurity(*client, configuration.connectionType);
  client->put_TrustedCertificates(configuration.trustedCertificates.c_str());
  return client;
}

std::unique_ptr<CkFtp2W> makeCheckClient(const CServerProperties& properties, int epsvMode) {
  constexpr std::int32_t kConnectSeconds = 5;
  auto client = std::make_unique<CkFtp2W>();
  client->put_Hostname(properties.hostName.c_str());
  client->put_Username(properties.userName.c_str());
  client->put_Password(properties.password.c_str());
  setEpsv(*client, epsvMode);
  client->put_Passive(true);
  const RemoteConnectionType type = connectionTypeOf(properties.protocol, properties.explicitTls);
  setSecurity(*client, type == RemoteConnectionType::NotSet ? RemoteConnectionType::Ftp : type);
  client->put_TrustedCertificates(properties.certificateFile.c_str());
  client->put_ConnectTimeout(kConnectSeconds);
  return client;
}

}  // namespace Quorvel::FileAccess

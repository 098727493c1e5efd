// Testing a server without touching the session.
#include <atomic>
#include <chrono>

#include "ftp/RemoteClients.h"
#include "host/System.h"
#include "toolkit/Ftp2W.h"
#include "zephor/ServerStore.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kEpsvOff = 0;
constexpr int kEpsvOn = 1;
constexpr int kEpsvClientsChoice = 2;

/// Details of the process's last check.
std::atomic<int> lastFailReason{0};
std::atomic<int> lastEpsvMode{kEpsvClientsChoice};

/// @return 0 or one of the kCheck codes, kCheckNoListing for every failed listing
int checkWith(const CServerProperties& properties, int epsvMode) {
  const auto begin = std::chrono::steady_clock::now();
  const std::unique_ptr<CkFtp2W> client = makeCheckClient(properties, epsvMode);
  if (!client->Connect()) {
    lastFailReason = client->get_ConnectFailReason();
    return kCheckNoConnection;
  }
  const auto end = [&client](int code) {
    client->Disconnect();
    return code;
  };
  if (!properties.baseDirectory.empty() && !client->ChangeRemoteDir(properties.baseDirectory.c_str())) {
    return end(kCheckNoBaseDirectory);
  }
  // Any time is longer than a limit of 0.
  const std::chrono::milliseconds limit(properties.connectLimitMilliseconds);
  if (std::chrono::steady_clock::now() - begin > limit) return end(kCheckSlow);
  client->put_ListPattern(L"*");
  return end(client->get_NumFilesAndDirs() >= 0 ? 0 : kCheckNoListing);
}

}  // namespace

int CheckConnection_ofServerProperties(const CServerProperties& properties) {
  lastEpsvMode = kEpsvClientsChoice;
  const int code = checkWith(properties, properties.epsvMode);
  if (code != kCheckNoListing || properties.epsvMode != kEpsvClientsChoice) return code;
  // The client's own choice found no way for data; one of the two may.
  const bool works = checkWith(properties, kEpsvOn) == 0;
  if (!works && checkWith(properties, kEpsvOff) != 0) return kCheckNoListing;
  lastEpsvMode = works ? kEpsvOn : kEpsvOff;
  return kCheckOtherEpsvMode;
}

int DataForCheckConnection_fromError(int code) {
  if (code == kCheckNoConnection) return lastFailReason;
  if (code == kCheckOtherEpsvMode) return lastEpsvMode;
  return 0;
}

}  // namespace Quorvel::FileAccess

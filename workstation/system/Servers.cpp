// Which servers this workstation knows and which one the current work is for.

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/system/Folders.h"

using workstation::hostState;
using workstation::settings;

namespace {

const workstation::ServerSettings* findServer(const workstation::SettingsValues& values, const std::wstring& name) {
  const auto found = values.servers.find(name);
  return found == values.servers.end() ? nullptr : &found->second;
}

}  // namespace

bool lfnetg() {
  return workstation::settingsNumber(L"Settings\\Offline", 0) != 1;
}

bool ZSYST_IsOndrathServer(const std::wstring& host) {
  return platform::equalsIgnoreCase(host, kOndrathHost);
}

bool ZSYST_IsOndrathConnection() {
  return ZSYST_IsOndrathServer(ZSYST_getCurrentWorkgroupServer());
}

bool ZSYST_IsInetServer(const std::wstring& host) {
  return findServer(*settings(), host) != nullptr;
}

bool ZSYST_IsInetConnection() {
  return ZSYST_IsInetServer(ZSYST_getCurrentWorkgroupServer());
}

bool ZSYST_IsInetConfiguration() {
  return !hostState().storeDirectory.empty() || !settings()->servers.empty();
}

std::wstring ZSYST_getCurrentWorkgroupServer() {
  workstation::HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  return state.currentServer;
}

void ZSYST_setCurrentWorkgroupServer(const std::wstring& host) {
  workstation::HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  state.currentServer = host;
}

int ZSYST_getWorkgroupOnlineConnectionType(const std::wstring& host) {
  const auto values = settings();
  const auto* server = findServer(*values, host);
  return server != nullptr && !server->isDirectory ? 1 : 0;
}

std::wstring ZSYST_getWorkgroupOnlineServerDescription(const std::wstring& host) {
  const auto values = settings();
  const auto* server = findServer(*values, host);
  return server != nullptr ? server->description : std::wstring();
}

std::wstring ZSYST_getQuorvelServer() {
  return hostState().storeDirectory.empty() ? std::wstring() : std::wstring(kOndrathHost);
}

int IsHostAvailable(const std::wstring& server, int /*flags*/) {
  if (!lfnetg()) return 0;
  if (ZSYST_IsOndrathServer(server)) {
    const std::string& store = hostState().storeDirectory;
    return !store.empty() && platform::fileStatus(platform::libraryPath(store)).isDirectory ? 1 : 0;
  }
  const auto values = settings();
  const auto* known = findServer(*values, server);
  if (known == nullptr) return 0;
  // A real server shows itself at the first connection; only a directory can be asked before.
  return !known->isDirectory || platform::fileStatus(known->baseDirectory).isDirectory ? 1 : 0;
}

globalHostsManager& globalHostsManager::instance() {
  static globalHostsManager manager;
  return manager;
}

std::wstring globalHostsManager::getHostPath(const std::wstring& host) const {
  if (!workstation::isKnownHost(host)) return {};
  return platform::joinPath(platform::joinPath(ZSYST_getLocalDataDirectory(), L"Prj"),
                            ZSYST_getLocalDataServerRoot(host));
}

CServerProperties::CServerProperties(const std::wstring& serverName) {
  const auto values = settings();
  const auto* server = findServer(*values, serverName);
  if (server == nullptr || server->isDirectory) return;
  hostName = server->hostName;
  protocol = server->protocol;
  userName = server->userName;
  password = server->password;
  baseDirectory = server->baseDirectory;
  explicitTls = server->explicitTls;
  epsvMode = server->epsvMode;
  connectLimitMilliseconds = server->connectLimitMilliseconds;
  readLimitMilliseconds = server->readLimitMilliseconds;
}

CServerProperties::CServerProperties(const CServerProperties&) = default;
CServerProperties& CServerProperties::operator=(const CServerProperties&) = default;
CServerProperties::~CServerProperties() = default;

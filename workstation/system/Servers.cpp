// Which servers this workstation knows and which one the current work is for.

#include <algorithm>

#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/system/Folders.h"

using workstation::hostState;
using workstation::settings;

namespace {

using workstation::ServerMap;
using workstation::ServerSettings;
using workstation::SettingsValues;

/// By its name, otherwise by its host name.
ServerMap::const_iterator findServer(const SettingsValues& values, const std::wstring& host) {
  const ServerMap& servers = values.servers;
  const auto named = servers.find(host);
  if (named != servers.end() || host.empty()) return named;
  const auto hasHost = [&host](const auto& server) {
    return !server.second.isDirectory && platform::equalsIgnoreCase(server.second.hostName, host);
  };
  const auto current = servers.find(ZSYST_getCurrentWorkgroupServer());
  if (current != servers.end() && hasHost(*current)) return current;
  return std::find_if(servers.begin(), servers.end(), hasHost);
}

using RunTexts = std::map<std::wstring, std::wstring, workstation::IgnoreCaseLess>;

/// What this run was given for a server, under the name that is asked for or the server's own; otherwise empty.
std::wstring ofThisRun(const RunTexts& texts, const std::wstring& host) {
  workstation::HostState& state = hostState();
  {
    const std::lock_guard guard(state.mutex);
    if (texts.empty()) return {};
    if (const auto found = texts.find(host); found != texts.end()) return found->second;
  }
  const std::wstring name = workstation::serverNameOf(host);
  const std::lock_guard guard(state.mutex);
  const auto found = texts.find(name);
  return found != texts.end() ? found->second : std::wstring();
}

void putForRun(RunTexts& texts, const std::wstring& host, const std::wstring& text) {
  const std::wstring name = workstation::serverNameOf(host);
  const std::lock_guard guard(hostState().mutex);
  for (const std::wstring& key : {host, name}) {
    texts.erase(key);
    if (!text.empty() && !key.empty()) texts.emplace(key, text);
  }
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
  const auto values = settings();
  return findServer(*values, host) != values->servers.end();
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
  const auto server = findServer(*values, host);
  return server != values->servers.end() && !server->second.isDirectory ? 1 : 0;
}

std::wstring ZSYST_getWorkgroupOnlineServerDescription(const std::wstring& host) {
  const auto values = settings();
  const auto server = findServer(*values, host);
  return server != values->servers.end() ? server->second.description : std::wstring();
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
  const auto known = findServer(*values, server);
  if (known == values->servers.end()) return 0;
  // A real server shows itself at the first connection; only a directory can be asked before.
  const ServerSettings& properties = known->second;
  return !properties.isDirectory || platform::fileStatus(properties.baseDirectory).isDirectory ? 1 : 0;
}

globalHostsManager& globalHostsManager::instance() {
  static globalHostsManager manager;
  return manager;
}

std::wstring globalHostsManager::getHostPath(const std::wstring& host) const {
  if (std::wstring directory = ofThisRun(hostState().hostDirectories, host); !directory.empty()) return directory;
  if (!workstation::isKnownHost(host)) return {};
  return platform::joinPath(platform::joinPath(ZSYST_getLocalDataDirectory(), L"Prj"),
                            ZSYST_getLocalDataServerRoot(host));
}

CServerProperties::CServerProperties(const std::wstring& serverName) {
  const auto values = settings();
  const auto found = findServer(*values, serverName);
  if (found == values->servers.end()) return;
  const ServerSettings* const server = &found->second;
  baseDirectory = server->baseDirectory;
  if (server->isDirectory) return;
  hostName = server->hostName;
  protocol = server->protocol;
  userName = server->userName;
  password = ofThisRun(hostState().serverPasswords, serverName);
  if (password.empty()) password = server->password;
  certificateFile = server->certificateFile;
  explicitTls = server->explicitTls;
  epsvMode = server->epsvMode;
  connectLimitMilliseconds = server->connectLimitMilliseconds;
  readLimitMilliseconds = server->readLimitMilliseconds;
}

CServerProperties::CServerProperties(const CServerProperties&) = default;
CServerProperties& CServerProperties::operator=(const CServerProperties&) = default;
CServerProperties::~CServerProperties() = default;

namespace workstation {

void setHostDirectory(const std::wstring& host, const std::wstring& libraryPath) {
  putForRun(hostState().hostDirectories, host, libraryPath);
}

void setServerPassword(const std::wstring& server, const std::wstring& password) {
  putForRun(hostState().serverPasswords, server, password);
}

std::wstring serverNameOf(const std::wstring& host) {
  const auto values = settings();
  const auto found = findServer(*values, host);
  return found == values->servers.end() ? std::wstring() : found->first;
}

}  // namespace workstation

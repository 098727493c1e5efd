// The list of servers in the settings, and what a run puts in the place of single values.

#include <filesystem>
#include <functional>

#include "host/System.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/Servers.h"
#include "workstation/system/Folders.h"

namespace workstation {
namespace {

bool isUsableName(const std::wstring& name) {
  if (name.empty() || platform::equalsIgnoreCase(name, kLocalHost) || ZSYST_IsOndrathServer(name)) return false;
  for (const wchar_t c : name) {
    if (c < 0x20 || c == 0x7F) return false;
  }
  return true;
}

bool change(const std::function<void(SettingsValues&)>& edit, std::wstring& error) {
  SettingsFile* const file = hostState().settings.get();
  if (file != nullptr) return file->change(edit, error);
  error = L"The workstation is not started.";
  return false;
}

}  // namespace

ServerMap knownServers() {
  return settings()->servers;
}

bool putServer(const std::wstring& name, const ServerSettings& server, std::wstring& error) {
  if (!isUsableName(name)) {
    error = platform::formatWide(
        L"\"%s\": expected a name for the server other than \"ONDRATH\" and \"localhost\", without control characters",
        name);
    return false;
  }
  return change([&](SettingsValues& values) { values.servers.insert_or_assign(name, server); }, error);
}

bool removeServer(const std::wstring& name, std::wstring& error) {
  bool wasThere = false;
  if (!change([&](SettingsValues& values) { wasThere = values.servers.erase(name) != 0; }, error)) return false;
  if (!wasThere) error = platform::formatWide(L"there is no server %s", name);
  return wasThere;
}

bool areSettingsPrivate(std::wstring& file) {
  using std::filesystem::perms;
  SettingsFile* const settingsFile = hostState().settings.get();
  if (settingsFile == nullptr) return true;
  file = settingsFile->path();
  bool holdsPassword = false;
  for (const auto& entry : settings()->servers) holdsPassword = holdsPassword || !entry.second.password.empty();
  std::error_code problem;
  const auto status = std::filesystem::status(platform::systemPath(file), problem);
  return !holdsPassword || problem || (status.permissions() & (perms::group_all | perms::others_all)) == perms::none;
}

void setNumberForRun(const std::wstring& key, int value) {
  HostState& state = hostState();
  const std::lock_guard guard(state.mutex);
  state.numbersOfRun.insert_or_assign(key, value);
}

}  // namespace workstation

// The servers of the older store that this workstation knows, and what one run of a program changes about them.
//
// A server has a name on this workstation; the host answers it by that name and, where no server has it as a name, by
// its host name. Of several servers with the same host name the current workgroup server is meant, otherwise the first.
#pragma once

#include <map>
#include <string>

#include "platform/Text.h"
#include "workstation/Export.h"

namespace workstation {

/// Orders names that are the same in any letter case as one.
struct IgnoreCaseLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const { return _wcsicmp(a.c_str(), b.c_str()) < 0; }
};

/// What a server that is added without limits of its own gets, in milliseconds.
constexpr int kUsualConnectLimit = 10'000;
constexpr int kUsualReadLimit = 30'000;

/// A server of the older store.
struct ServerSettings {
  bool isDirectory = false;  ///< a plain directory, `baseDirectory`, in the place of a server
  std::wstring description;
  std::wstring hostName;
  std::wstring protocol;  ///< "FTP" or "FTPS"
  std::wstring userName;
  std::wstring password;  ///< empty: the user is asked, or ZEPHOR_SERVER_PASSWORD tells it
  std::wstring baseDirectory;
  std::wstring certificateFile;  ///< library path of a PEM file; empty for none
  bool explicitTls = false;
  int epsvMode = 2;
  int connectLimitMilliseconds = 0;
  int readLimitMilliseconds = 0;

  bool operator==(const ServerSettings&) const = default;
};

using ServerMap = std::map<std::wstring, ServerSettings, IgnoreCaseLess>;

/// The servers of the settings.
WORKSTATION_API ServerMap knownServers();
/// Writes a server into the settings. A server of that name is replaced.
/// @return false with an error; the settings are then unchanged
WORKSTATION_API bool putServer(const std::wstring& name, const ServerSettings& server, std::wstring& error);
/// @return false with an error; also when there is no such server
WORKSTATION_API bool removeServer(const std::wstring& name, std::wstring& error);
/// False when the settings hold the password of a server and others than their user may read the file.
/// @param file  receives the path of the settings
WORKSTATION_API bool areSettingsPrivate(std::wstring& file);

// For this process only. Set before transfers begin; read by any thread.

/// Puts a directory in the place of the local data directory of a host, under its name or its host name. An empty path
/// ends that.
WORKSTATION_API void setHostDirectory(const std::wstring& host, const std::wstring& libraryPath);
/// Stands before the password of the settings.
WORKSTATION_API void setServerPassword(const std::wstring& server, const std::wstring& password);
/// A per-user number that stands before the one of the settings, which stays as it is.
WORKSTATION_API void setNumberForRun(const std::wstring& key, int value);

}  // namespace workstation

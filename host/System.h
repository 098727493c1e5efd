// Installation and settings of the workstation: servers, folders, per-user numbers, releases.
#pragma once

#include <string>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

/// The pseudo-host of the cloud.
constexpr const wchar_t* kOndrathHost = L"ONDRATH";

/// True if the host's network mode is active.
HOST_API bool lfnetg();

HOST_API bool ZSYST_IsOndrathServer(const std::wstring& host);
HOST_API bool ZSYST_IsOndrathConnection();
HOST_API bool ZSYST_IsInetServer(const std::wstring& host);
HOST_API bool ZSYST_IsInetConnection();
HOST_API bool ZSYST_IsInetConfiguration();
HOST_API std::wstring ZSYST_getCurrentWorkgroupServer();
HOST_API void ZSYST_setCurrentWorkgroupServer(const std::wstring& host);
/// 0 a plain directory, otherwise online.
HOST_API int ZSYST_getWorkgroupOnlineConnectionType(const std::wstring& host);
HOST_API std::wstring ZSYST_getWorkgroupOnlineServerDescription(const std::wstring& host);
HOST_API std::wstring ZSYST_getQuorvelServer();
HOST_API std::wstring ZSYST_getLocalDataDirectory();
/// Name of a server's root below the "Prj" directory of the local data.
HOST_API std::wstring ZSYST_getLocalDataServerRoot(const std::wstring& host);
/// Writes at most `size` characters with the terminator. @return false when the folder is not known or does not fit
HOST_API bool ZSYST_getPrgDirectory(wchar_t* buffer, std::size_t size);
HOST_API std::wstring ZSYST_GetQuorvelFolderByTag(const std::wstring& tag);

/// Per-user number under the hive "HKCU". The read returns true when the value exists.
HOST_API bool ZSYST_ZepRegGetNumber(const wchar_t* hive, const std::wstring& key, int& value);
HOST_API bool ZSYST_ZepRegPutNumber(const wchar_t* hive, const std::wstring& key, int value);
/// Configured path of a setup key ("Net", "LocalData", "Prg") into a buffer of 260 characters.
HOST_API bool ZSYST_ZepRegGetSetupPath(const std::wstring& key, wchar_t* buffer);
/// Key of trace setting number n: 5 the library's master switch, 1 the detail level.
HOST_API std::wstring getTraceRegistrySection(int n);
/// The host's own trace level; above 0 means trace on.
HOST_API int getFileAccessTrace();

HOST_API std::wstring ZSYST_SubstituteShareByLocal(const std::wstring& path);
HOST_API void ZSYST_putCurrentCORPath(const std::wstring& path);
HOST_API void ZSYST_FreeStdFullPathStrings();
/// Forms the host's paths anew that depend on where the standard resources are.
HOST_API void lfpath_ini_std_dependent_paths();

/// Non-zero if the server is reachable by the host's own means.
HOST_API int IsHostAvailable(const std::wstring& server, int flags);

/// Data paths of the hosts that this workstation knows.
class HOST_API globalHostsManager {
 public:
  static globalHostsManager& instance();
  /// Root of the projects of a host, without a backslash at its end; empty when the host is not known.
  std::wstring getHostPath(const std::wstring& host) const;
};

/// Releases: main release as an unsigned byte, sub-release as release times ten.
HOST_API int get_InternMainRelease();
HOST_API short get_InternSubRelease();
HOST_API int GetInstalledDefaultCountryNumber();
/// True in a developer build; true when the running program is the CAD host itself; true when a program of that name
/// runs.
HOST_API bool isEntwVersion();
HOST_API bool isExecutedByQuorvel();
HOST_API bool isAppRunning(const std::wstring& program);

/// Current language number, and the short code of one ("de", "en"); null when there is none.
HOST_API int ll_get_language();
HOST_API const wchar_t* ll_get_lng_shortness_original(int language);

/// How a server of the older store is reached. A server name that is not known gives empty texts, a plain directory in
/// the place of a server its base directory alone.
class HOST_API CServerProperties {
 public:
  explicit CServerProperties(const std::wstring& serverName);
  CServerProperties(const CServerProperties&);
  CServerProperties& operator=(const CServerProperties&);
  ~CServerProperties();

  std::wstring hostName;
  std::wstring protocol;  ///< "FTP" or "FTPS"
  std::wstring userName;
  std::wstring password;
  std::wstring baseDirectory;
  std::wstring certificateFile;  ///< PEM file of certificates trusted beside the system's; empty for none
  bool explicitTls = false;
  int epsvMode = 2;  ///< 0 off, 1 on, 2 the client's choice
  int connectLimitMilliseconds = 0;
  int readLimitMilliseconds = 0;
};

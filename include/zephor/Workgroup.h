// Aiming the service at a server and project, opening a project.
#pragma once

#include <string>

#include "zephor/Export.h"

class PRJ;
struct LastProjectInfo;
struct QuorvelUser;

namespace Quorvel::FileAccess {

/// Project-level result codes.
constexpr unsigned long kNoSyncDone = 0x20B10001;
constexpr unsigned long kReleaseNotUsable = 0xA0B10001;
constexpr unsigned long kProjectRefused = 0xA0B10002;
constexpr unsigned long kNoCloudLogin = 0xA0B10004;
constexpr int kWorkgroupInitFailed = -20;              ///< when a project is opened
constexpr int kWorkgroupInitAfterRefreshFailed = -23;  ///< of a cloud project, after its cache was refreshed

/// Aims the transfer object at a host; an empty host leaves it without one. Takes the service-wide lock.
ZEPHOR_API bool WGO_initWorkgroup(const wchar_t* host);
/// Aims server and project, and tells where they pointed before. The outputs are set in any case.
/// @return false when the server can't be initialised: all then points where it pointed. Also false when neither the
///         transfer object takes the project nor the host's list knows it: the new server then stays
ZEPHOR_API bool WGO_FullInitWorkgroup(const std::wstring& host, const std::wstring& project, std::wstring& oldHost,
                                      std::wstring& oldProjectDirectory);
/// Login (cloud only), then WGO_FullInitWorkgroup. A refused open leaves all pointing where it pointed.
/// @return 0, -20, or 0xA0B10004 as a signed number
ZEPHOR_API int WGO_InitForProjectOpen(const PRJ& prj);
/// A project may lag up to three main releases behind the program and must not be ahead. A project that is not in the
/// cloud is valid. The middle argument has no effect.
ZEPHOR_API bool WGO_isValidProjectVersion(const PRJ& prj, bool ignored, bool showMessage);
ZEPHOR_API bool WGO_checkProjectAccessState(PRJ* prj);
/// True when the project is in the cloud.
ZEPHOR_API bool WGO_IsProjectWithDownload(const PRJ& prj);

/// Refused: accounts are the cloud's business. @return always false
ZEPHOR_API bool WGO_CheckAccessForOnlineProjectAndSwitchUser(const PRJ& prj, const QuorvelUser* user, int kind,
                                                             bool flag);
/// Only `compressed` tells something: whether the open project's Teilbilder are stored compressed. It may be null.
/// @return always false
ZEPHOR_API bool WGO_isOnlineProject(bool* compressed);

/// Keeps a copy of the host's record, unless host or directory name in it are empty. On the host's main thread.
ZEPHOR_API void WGO_storeLastProjectContext(LastProjectInfo& info);
/// Null when none was stored, or after WGO_deleteLastProjectContext.
ZEPHOR_API const LastProjectInfo* WGO_getLastProjectContext();
ZEPHOR_API void WGO_deleteLastProjectContext();

/// Tells the user that the older store's support ends: once per process, and not any more when the user ticked so.
ZEPHOR_API void WGO_notifyCustomerWGOSupportEnds();

/// Aims the service at another host and project, and back at its end. On the host's main thread.
class ZEPHOR_API CScopedPrjSettings {
 public:
  /// @param project  null: only the host
  CScopedPrjSettings(const wchar_t* host, const wchar_t* project);
  CScopedPrjSettings(const CScopedPrjSettings&);
  CScopedPrjSettings& operator=(const CScopedPrjSettings&);
  ~CScopedPrjSettings();

 private:
  void push(const wchar_t* host, const wchar_t* project);
  void pop();

  std::wstring oldWorkgroupServer_;
  std::wstring oldHost_;
  std::wstring oldProjectDirectory_;
};

}  // namespace Quorvel::FileAccess

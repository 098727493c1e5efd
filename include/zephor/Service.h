// The way in: start and stop of the service, the replaceable access object, the trace level.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "platform/WindowsTypes.h"
#include "zephor/CloudFiles.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Accepted and ignored; its values are the host's.
enum WGO_InitMode : int { eWGOInit_Default = 0 };

/// Sets the current server and the two data roots. Does nothing when the host's network mode is off. On the host's main
/// thread; a second call is harmless.
/// @return always true
ZEPHOR_API bool WGO_Service_Initialize(WGO_InitMode mode);
/// Releases the calling thread's connection and the current online project.
ZEPHOR_API void WGO_Service_Uninitialize();

/// The operations that the library's own background services call, so that a host can put others in their place.
class ZEPHOR_API IWGOAccess {
 public:
  virtual ~IWGOAccess() = default;
  virtual bool IsProjectWithDownload(const PRJ& prj) = 0;
  virtual void getOndrathResourceFiles(const PRJ& prj, std::vector<CResourceInfo>& out, int type) = 0;
  virtual bool DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files) = 0;
  virtual bool DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) = 0;
  /// Sends those of the files that are there, as changes below a directory of the active project. @return 0, or 13
  virtual long long UploadChangedFiles(const std::wstring& directory, const std::set<std::wstring>& files) = 0;
  virtual bool UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) = 0;
  virtual long long deleteServerFile(const PRJ& prj, const std::wstring& path) = 0;
  virtual std::wstring& ConvertFileNameToFullPath(std::wstring& result, const PRJ& prj, const std::wstring& name) = 0;
};

/// The implementation over the exported services; an empty pointer when memory is short.
ZEPHOR_API std::unique_ptr<IWGOAccess> CreateWGOAccess();
/// Puts another access object in place; the one before is deleted afterwards. A start-up operation, guarded by no lock.
ZEPHOR_API void SetWGOAccess(std::unique_ptr<IWGOAccess>&& access);

/// The cached trace level, read from the settings when it is not known yet. From any thread.
ZEPHOR_API int WGO_GetTrace();
/// Stores the level under the library's master switch; the next read takes it up.
ZEPHOR_API void WGO_SetTrace(int level);
/// A line for the host's input and output trace; `out` stays as it is for an unknown connection type.
ZEPHOR_API void WGO_Service_CreateIOTraceMsg(const wchar_t* operation, const wchar_t* path, std::wstring& out);
/// Does nothing: the listing cache empties itself when the directory changes. Harmless to call.
ZEPHOR_API void WGO_resetDirectoryListingCache(const std::wstring& directory);
/// The language's resource library beside the host's program, or null. The caller frees it.
ZEPHOR_API HMODULE LoadResourcesForInetExtensions();

}  // namespace Quorvel::FileAccess

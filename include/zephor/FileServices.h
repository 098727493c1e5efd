// One-file services: what the host calls whenever a project file has changed or is needed.
//
// A service acts for cloud projects; for any other store it is a quiet success unless its comment says otherwise.
// Results are Windows-style codes, 0 for success; a failure is the thread's last error as well. All run on the caller's
// thread; the block counts belong to the host's main thread.
#pragma once

#include <string>
#include <vector>

#include "host/FileTypes.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// True raises the count that blocks a direction, false lowers it, never below 0. Blocked is a count above 0.
ZEPHOR_API void WGO_blockUpload(bool block);
ZEPHOR_API void WGO_blockDownload(bool block);
ZEPHOR_API bool WGO_isBlockedUpload();
ZEPHOR_API bool WGO_isBlockedDownload();

/// Block a direction while they live. A copy is an object of its own that lowers the count at its end without having
/// raised it.
class ZEPHOR_API ScopedWGOBlockUpload {
 public:
  ScopedWGOBlockUpload();
  ScopedWGOBlockUpload(const ScopedWGOBlockUpload&) = default;
  ScopedWGOBlockUpload& operator=(const ScopedWGOBlockUpload&) = default;
  ~ScopedWGOBlockUpload();
};
class ZEPHOR_API ScopedWGOBlockDownload {
 public:
  ScopedWGOBlockDownload();
  ScopedWGOBlockDownload(const ScopedWGOBlockDownload&) = default;
  ScopedWGOBlockDownload& operator=(const ScopedWGOBlockDownload&) = default;
  ~ScopedWGOBlockDownload();
};

/// Busy cursor around a service, from any thread: it is shown while at least one guard with `show` lives.
class ZEPHOR_API ScopedAniCursor {
 public:
  explicit ScopedAniCursor(bool show);
  ~ScopedAniCursor();
  ScopedAniCursor(const ScopedAniCursor&) = delete;
  ScopedAniCursor& operator=(const ScopedAniCursor&) = delete;

 private:
  bool counted_ = false;
};
ZEPHOR_API bool WGO_GetDisplayAniCursor();
/// @return the value before
ZEPHOR_API bool WGO_SetDisplayAniCursor(bool show);
/// The animated cursor; always null, since the user interface draws its own.
ZEPHOR_API void* WGO_GetAniCursor();

ZEPHOR_API unsigned long WGO_uploadFile(const PRJ& prj, const wchar_t* file, bool ignored);
ZEPHOR_API unsigned long WGO_uploadFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file, unsigned ignored1,
                                        bool ignored2, bool ignored3);
ZEPHOR_API unsigned long WGO_uploadFile(const wchar_t* fullPath);
/// @return 0; 87 null; 2 no access; 13 another host; 1 the upload failed
ZEPHOR_API unsigned long WGO_uploadFileEx(const wchar_t* fullPath);
/// Sends a file that is no project object. `context` may hold transfer options (CloudTransferOptions) or be null.
ZEPHOR_API unsigned long WGO_uploadFreeFile(const PRJ& prj, const wchar_t* file, const std::wstring& name,
                                            void* context);
ZEPHOR_API unsigned long WGO_uploadFreeFile(const PRJ& prj, const wchar_t* file, unsigned pathNumber);
ZEPHOR_API unsigned long WGO_downloadFile(const PRJ& prj, const wchar_t* file, bool ignored);
/// @param usePart  non-zero: written under the name with ".Part" first
ZEPHOR_API unsigned long WGO_downloadFileEx(const PRJ& prj, const std::wstring& file, unsigned usePart);
/// @return 0; 13; 0x8000FFFF when the server did not delete
ZEPHOR_API unsigned long WGO_deleteServerFile(const PRJ& prj, const wchar_t* file);
ZEPHOR_API unsigned long WGO_deleteServerFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file);
ZEPHOR_API unsigned long WGO_deleteServerFile(int number, int type);
ZEPHOR_API bool WGO_existsOnlineServerFile(const PRJ& prj, const wchar_t* file);
ZEPHOR_API bool WGO_existsOnlineServerFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file);
/// For a local project the text is put directly behind the project's directory, with no separator added.
ZEPHOR_API bool WGO_existsProjectFile(std::wstring file);
/// Sends a saved object. A lock held by anybody suffices; without one it is refused with a box.
ZEPHOR_API unsigned long WGO_CheckLockAndUploadFile(int number, int type);
/// Brings an object when the server's is newer. Local changes that were not uploaded stay.
ZEPHOR_API bool WGO_CheckLockAndDownloadFile(int number, int type, bool acceptMissing);
ZEPHOR_API bool WGO_DownloadToOpenFile(const void* const* handle, int number, QuorvelFileType type);

/// Sends, as one batch, what WGO_CheckLockAndUploadFile kept back while a data conversion ran. The list is empty
/// afterwards; after a failure its files stand in the not-uploaded list.
/// @return true when all went, and when there is nothing to do: the conversion still runs, the open project is not in
///         the cloud
ZEPHOR_API bool WGO_uploadConvertedFilesAfterDatwa();

/// Numbers of objects that the server no longer has; the host removes them.
ZEPHOR_API std::vector<int>& WGO_getMarkedForDelete();
ZEPHOR_API void WGO_clearMarkedForDelete();

}  // namespace Quorvel::FileAccess

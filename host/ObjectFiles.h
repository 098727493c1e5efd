// Object files of the core: opening one, reading its header, the files that are open, and the two leading sections.
#pragma once

#include <cstdint>
#include <string>

#include "host/Export.h"
#include "host/FileTypes.h"
#include "host/Records.h"
#include "platform/WindowsTypes.h"

/// Opens an object file read-only in the core.
/// @param type  eFileType_Teilbild or eFileType_Plan
/// @param mode  2: read-only
/// @return 0 and a handle above 0, or an error code (2 not found, 13 damaged or foreign)
HOST_API int Sing_lfztboC(int type, int mode, const std::wstring& path, int flags, int& handle);
/// Closes what Sing_lfztboC opened.
HOST_API void tbvtbc(int handle);
HOST_API bool liesTbHeader(int handle, TeilbildHeader& out);
HOST_API bool liesPlHeader(int handle, PlanHeader& out);

/// True when the object is open in the core; gives its handle.
HOST_API bool tbvglk(int type, int number, int& handle);
/// The host's handle of a file that is open in the core, -1 if none.
HOST_API int cfgethandle(const std::wstring& path, int flags);
/// The platform's handle of an open project file; null or INVALID_HANDLE_VALUE when it is not open.
HOST_API HANDLE getOpenFileHandle_FromFileName(const std::wstring& path);
/// Notes whether the content behind an open handle is compressed. @return false when the handle is not in the open-file
/// list
HOST_API bool setOpenFileZippedMode_FromFileHandle(HANDLE handle, bool compressed);
/// True when a file that is open in the core holds changes that have not been uploaded.
HOST_API bool lcfile_GetForUpload(int handle);
/// Replaces the content of an open file by that of `partPath`, which is used up.
/// @return 0, or an error code; the open file is then as it was
HOST_API int lcfile_ReConnect(int handle, const std::wstring& partPath);
/// Runs `work` with the host's file quiesced and hands it the platform's handle. @return what `work` answers
HOST_API unsigned long lcfile_doLowlevelOnFile(HANDLE file, unsigned long (*work)(HANDLE file, void* arguments),
                                               void* arguments);
/// Lock kind of the file layer of this thread; 1 while a header is read directly.
HOST_API int get_Lcfile_LockKind();
HOST_API void set_Lcfile_LockKind(int kind);

/// The drawing-file object of the core for a Teilbild, -1 if there is none; and making one.
HOST_API int kgdrin(int number);
HOST_API int kgobcr(int number);
/// Tells the host's selection list the version of an object.
HOST_API void SelectionList_UpdateVersionInfo(int type, int number, std::uint32_t version);
/// Tells the host that data of an object changed. @param kind  1 Teilbild, 2 Plan
HOST_API void SetDataChangedInfo(int kind, int number, int changed);
/// Checks whether an object's row exists as a file in the host's cache; `out` is non-zero when it does.
HOST_API int lfztyp(int type, int number, int& out);

// The sections of an uncompressed object file. `buffer` holds `size` bytes from its start; an answer never points
// outside it. An invalid head sets the thread's last error to 13.
HOST_API bool HEAD_t_IsValidHead(const std::uint8_t* buffer, std::size_t size);
HOST_API std::size_t HEAD_t_GetSizeOfSectionFileHead();
HOST_API std::size_t HEAD_t_GetPosOfSectionFileTables(const std::uint8_t* buffer, std::size_t size);
HOST_API std::size_t HEAD_t_GetSizeOfSectionFileTables(const std::uint8_t* buffer, std::size_t size);

/// The 8 bytes that tell the program version in a compressed file.
HOST_API void cgpver(std::uint8_t out[8]);

namespace autoBackup {
/// Copies an object file to the automatic backup. @return true when a backup was made
HOST_API bool createBackup(const std::wstring& path, QuorvelFileType type);
}  // namespace autoBackup

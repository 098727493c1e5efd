// The shell's operation on whole files and directories under its Windows name, as far as the system uses it: deletion,
// for good or into the trash.
#pragma once

#include "platform/WindowsTypes.h"

#ifdef _WIN32
#include <shellapi.h>
#else

constexpr UINT FO_DELETE = 0x3;
constexpr WORD FOF_SILENT = 0x4;
constexpr WORD FOF_NOCONFIRMATION = 0x10;
constexpr WORD FOF_ALLOWUNDO = 0x40;
constexpr WORD FOF_SIMPLEPROGRESS = 0x100;
constexpr WORD FOF_NOCONFIRMMKDIR = 0x200;
constexpr WORD FOF_NOERRORUI = 0x400;

struct SHFILEOPSTRUCTW {
  HWND hwnd;
  UINT wFunc;
  const wchar_t* pFrom;  ///< library paths, each ended by a NUL, the list by one more; no wildcards
  const wchar_t* pTo;
  WORD fFlags;
  BOOL fAnyOperationsAborted;
  void* hNameMappings;
  const wchar_t* lpszProgressTitle;
};

/// FO_DELETE: removes files, and directories with all that they hold, read-only ones too; links are removed, never
/// followed. With FOF_ALLOWUNDO they go to the trash instead, whole or not at all, and stay when there is none. Nobody
/// is asked and nothing is shown, whatever the flags say, so that nothing is ever aborted. Any thread.
/// @return 0, or the error of the first path that failed, at which the operation ends; the last error is not changed.
///         ERROR_INVALID_PARAMETER for any other function and an empty list, ERROR_INVALID_NAME for a wildcard
PLATFORM_API int SHFileOperationW(SHFILEOPSTRUCTW* operation);

#endif

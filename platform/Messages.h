// Texts for error codes, resource libraries, loaded modules, environment and the desktop's opener under their Windows
// names.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

#ifndef _WIN32
constexpr DWORD LOAD_LIBRARY_AS_DATAFILE = 0x2;
constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
constexpr DWORD FORMAT_MESSAGE_FROM_HMODULE = 0x800;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_ENVVAR_NOT_FOUND = 203;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;

/// Text of an error code, ended by CR LF. System codes come from the system, 2100 to 2999 from "netmsg.dll", 12000 to
/// 12192 from "wininet.dll" and "winhttp.dll"; a code without text answers 0 and sets ERROR_MR_MID_NOT_FOUND (317).
/// With FORMAT_MESSAGE_ALLOCATE_BUFFER `buffer` is a `wchar_t**` that LocalFree releases.
/// @return characters without the terminator
PLATFORM_API DWORD FormatMessageW(DWORD flags, HMODULE module, DWORD code, DWORD language, wchar_t* buffer, DWORD size,
                                  void* arguments);
PLATFORM_API void* LocalFree(void* memory);

/// Opens a resource library: one of the three message modules above by name, or a library of strings by its path.
/// @return null with ERROR_MOD_NOT_FOUND
PLATFORM_API HMODULE LoadLibraryW(const wchar_t* path);
PLATFORM_API HMODULE LoadLibraryExW(const wchar_t* path, HANDLE reserved, DWORD flags);
PLATFORM_API BOOL FreeLibrary(HMODULE module);
/// Copies string `id` of a resource library, cut to `size` - 1 characters. @return characters copied; 0 when there is
/// none
PLATFORM_API int LoadStringW(HINSTANCE module, UINT id, wchar_t* buffer, int size);

using FARPROC = std::intptr_t (*)();
/// A library that is loaded in this process already, by the name of its file without regard to case. It is not kept
/// loaded, and not to be freed.
/// @return null with ERROR_MOD_NOT_FOUND
PLATFORM_API HMODULE GetModuleHandleW(const wchar_t* name);
/// A function of a library by its name. @return null with ERROR_PROC_NOT_FOUND; null with ERROR_INVALID_HANDLE when the
/// library was unloaded meanwhile
PLATFORM_API FARPROC GetProcAddress(HMODULE module, const char* name);

/// Last text of an internet server for this thread. @return FALSE when there is none
PLATFORM_API BOOL InternetGetLastResponseInfoW(DWORD* error, wchar_t* buffer, DWORD* length);

/// As the system's call: characters without terminator, the size needed when the buffer is too small, 0 when not set. A
/// directory variable of the Windows world that is not set ("APPDATA") stands for the user's configuration directory.
PLATFORM_API DWORD GetEnvironmentVariableW(const wchar_t* name, wchar_t* buffer, DWORD size);

constexpr int SW_SHOWNORMAL = 1;
/// Opens a document or link with the desktop's opener; only the verb "open" is known.
/// @return above 32 on success, otherwise an error code as a pointer-sized number
PLATFORM_API HINSTANCE ShellExecuteW(HWND owner, const wchar_t* verb, const wchar_t* file, const wchar_t* parameters,
                                     const wchar_t* directory, int show);
#endif

namespace platform {

/// One string of a resource library. Such a library is a shared object, whatever its file name ends in, that defines
/// the C symbol `zephorResourceStrings`: an array of these, ended by an entry with a null text.
struct ResourceString {
  UINT id;
  const char* utf8Text;
};

/// The environment variable, or an empty text.
PLATFORM_API std::wstring environment(const wchar_t* name);

/// Keeps what an internet server said last for this thread, for InternetGetLastResponseInfoW.
PLATFORM_API void setLastInternetResponse(const std::wstring& text);

}  // namespace platform
